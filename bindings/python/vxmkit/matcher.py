"""The matcher: settings, verification, identification, half turn."""
from __future__ import annotations

import ctypes
import dataclasses
import operator
import threading
from collections.abc import Callable, Iterable, Iterator
from typing import Any, SupportsFloat, SupportsIndex

from .constants import SCORE_SCALE, SECURITY_LEVELS, Parameter, TemplateType, TextSize
from .gallery import Gallery
from .library import load, require_ok
from .template_format import ATTRIBUTE_BLOCK, body_size, detect_type
from .templates import Template, many, template_bytes, template_list

# How long Python waits before it looks for signals again, in seconds; where the
# system lets a signal end the wait it comes at once.
_SIGNAL_INTERVAL = 0.05
_LONGEST_TIMEOUT = 2**32 - 1  # milliseconds


@dataclasses.dataclass(frozen=True)
class Verification:
    """The outcome of a comparison: true in an `if` when it is a match.

    `points` is the similarity, 0 to 9999, to be held against `THRESHOLDS`; `matched`
    whether it reached the threshold of the matcher's security level.
    """

    points: int
    matched: bool

    @property
    def score(self) -> float:
        """The similarity as the C interface gives it, 0.0 to 0.9999."""
        return self.points / SCORE_SCALE

    def __bool__(self) -> bool:
        return self.matched


def _whole_number(value: object, name: str) -> int:
    """What counts as an index in Python, but for True and False."""
    try:
        if not isinstance(value, bool):
            return operator.index(value)  # type: ignore[arg-type]
    except TypeError:
        pass
    raise TypeError(f"{name}: an int is wanted, not {type(value).__name__}")


def _switch(value: Any, name: str) -> bool:
    """A bool, numpy's included, or 0 or 1."""
    plain = value.item() if type(value).__name__ in ("bool_", "bool") and hasattr(
        value, "item") else value
    if plain is True or plain is False or (type(plain) is int and plain in (0, 1)):
        return bool(plain)
    raise TypeError(f"{name}: a bool is wanted, not {type(value).__name__}")


def _milliseconds(timeout: object) -> int:
    """A time limit as the library takes it, where 0 is none: a very short one counts as
    a millisecond."""
    if timeout is None:
        return 0
    if isinstance(timeout, (bool, str)) or not isinstance(timeout, (SupportsFloat,
                                                                    SupportsIndex)):
        raise TypeError(f"timeout: seconds are wanted, not {type(timeout).__name__}")
    seconds = float(timeout)
    if not 0 <= seconds <= _LONGEST_TIMEOUT / 1000:
        raise ValueError(f"timeout: {timeout} seconds are out of range")
    return max(1, round(seconds * 1000))


class Matcher:
    """Compares fingerprint templates of one format.

        with Matcher(TemplateType.ISO19794_2, security_level=5) as matcher:
            if matcher.verify(probe, candidate): ...

    It holds about 2.3 MB until it is closed. It may be used from several threads,
    whose calls then wait for each other; comparisons run one at a time in the whole
    process anyway, so that only further processes make use of further cores.

    Templates are bytes-like; they are only read. Every method may raise a `VxmError`,
    TypeError, which names the parameter, for a value of a wrong type, and, after `close`,
    ValueError.
    """

    def __init__(self, template_type: TemplateType = TemplateType.NATIVE, *,
                 security_level: int = 4, fast_mode: bool = True,
                 retry_turned: bool = False) -> None:
        self._handle: ctypes.c_void_p | None = None
        self._lock = threading.RLock()  # a matcher serves one thread at a time
        self._ending = threading.Lock()  # no abort reaches a handle being deleted
        self._loaded_probe: object | None = None  # whose probe IdentifyNext compares
        self._library = load()
        handle = ctypes.c_void_p()
        require_ok(self._library.VXM_Create(ctypes.byref(handle)), "making a matcher")
        self._handle = handle
        try:
            self.template_type = template_type
            self.security_level = security_level
            self.fast_mode = fast_mode
            self.retry_turned = retry_turned
        except BaseException:
            self.close()
            raise

    def close(self) -> None:
        """Releases the matcher, after any call that is running on it; a second
        time does nothing."""
        with self._lock, self._ending:
            handle, self._handle = self._handle, None
            if handle is not None:
                self._library.VXM_Delete(handle)

    def __enter__(self) -> Matcher:
        return self

    def __exit__(self, *unused: object) -> None:
        self.close()

    def __del__(self) -> None:
        if getattr(self, "_handle", None) is not None:
            self.close()

    def _call(self, where: str, name: str, *arguments: object) -> None:
        """Calls a function on the handle; the lock must be held."""
        if self._handle is None:
            raise ValueError("the matcher is closed")
        require_ok(getattr(self._library, name)(self._handle, *arguments), where)

    # ---- Settings: each takes effect with the next call.

    def _get(self, parameter: Parameter) -> int:
        value = ctypes.c_int()
        with self._lock:
            self._call("reading a setting", "VXM_GetParameter", parameter, ctypes.byref(value))
        return value.value

    def _set(self, parameter: Parameter, value: int) -> None:
        with self._lock:
            self._loaded_probe = None
            self._call("changing a setting", "VXM_SetParameter", parameter,
                       ctypes.byref(ctypes.c_int(value)))

    def _text(self, parameter: Parameter) -> str:
        text = ctypes.create_string_buffer(TextSize.PARAMETER_TEXT_SIZE)
        with self._lock:
            self._call("reading a text", "VXM_GetParameter", parameter, text)
        return text.value.decode("ascii")

    @property
    def template_type(self) -> TemplateType:
        """The one format that the matcher takes; others raise `TemplateTypeError`."""
        value = ctypes.c_int()
        with self._lock:
            self._call("reading the template type", "VXM_GetTemplateType", ctypes.byref(value))
        return TemplateType(value.value)

    @template_type.setter
    def template_type(self, value: TemplateType) -> None:
        number = TemplateType(_whole_number(value, "template_type"))
        with self._lock:
            self._loaded_probe = None
            self._call("setting the template type", "VXM_SetTemplateType", number)

    @property
    def security_level(self) -> int:
        """1 (lenient) to 7 (strict), at first 4. ValueError: any other."""
        return self._get(Parameter.SECURITY_LEVEL)

    @security_level.setter
    def security_level(self, value: int) -> None:
        level = _whole_number(value, "security_level")
        if level not in SECURITY_LEVELS:
            raise ValueError(f"security level {level} is not 1 to 7")
        self._set(Parameter.SECURITY_LEVEL, level)

    @property
    def fast_mode(self) -> bool:
        """Whether identification compares reduced templates first; at first True."""
        return bool(self._get(Parameter.FAST_MODE))

    @fast_mode.setter
    def fast_mode(self, value: bool) -> None:
        self._set(Parameter.FAST_MODE, _switch(value, "fast_mode"))

    @property
    def retry_turned(self) -> bool:
        """Whether a failed comparison is followed by one with the probe turned by
        180 degrees; at first False."""
        return bool(self._get(Parameter.RETRY_TURNED))

    @retry_turned.setter
    def retry_turned(self, value: bool) -> None:
        self._set(Parameter.RETRY_TURNED, _switch(value, "retry_turned"))

    @property
    def version(self) -> str:
        """The library's version text."""
        return self._text(Parameter.VERSION)

    @property
    def copyright(self) -> str:
        """The library's copyright text."""
        return self._text(Parameter.COPYRIGHT)

    # ---- One to one

    def verify(self, probe: Template, candidate: Template) -> Verification:
        """Compares two templates. The order matters a little: the score of (a, b)
        may differ from that of (b, a).

        TemplateTypeError: one is not of the matcher's type. InvalidParametersError,
        DataCorruptedError: a native template, a standard record is not valid.
        """
        probe = template_bytes(probe, "probe")
        candidate = template_bytes(candidate, "candidate")
        score, matched = ctypes.c_float(), ctypes.c_int()
        with self._lock:
            self._loaded_probe = None
            self._call("verification", "VXM_VerifyEx", probe, len(probe), candidate,
                       len(candidate), ctypes.byref(score), ctypes.byref(matched))
        return Verification(round(score.value * SCORE_SCALE), bool(matched.value))

    # ---- Turning

    def rotate(self, template: Template) -> bytes:
        """The template turned by 180 degrees, in its own format, which may be any of
        the three. A standard record keeps only the minutiae inside its image.

        TemplateTypeError: no template, or an invalid one.
        """
        template = template_bytes(template, "template")
        size = body_size(template)
        native = detect_type(template) is TemplateType.NATIVE
        if native:
            template = template[:size]  # with room to spare it would come back longer
        elif len(template) < size + ATTRIBUTE_BLOCK:
            template = template[:size].ljust(size + ATTRIBUTE_BLOCK, b"\0")
        buffer = (ctypes.c_ubyte * len(template)).from_buffer_copy(template)
        with self._lock:
            self._loaded_probe = None
            self._call("turning", "VXM_RotateTemplate", buffer, len(template))
        turned = bytes(buffer)
        return turned[:body_size(turned) + (0 if native else ATTRIBUTE_BLOCK)]

    # ---- One to many

    def identify(self, probe: Template, gallery: Gallery | Iterable[Template | None], *,
                 timeout: float | None = None, threads: int = 1) -> int | None:
        """The index of a candidate that matches the probe, or None.

        Candidates are tried in the order of likeness to the probe, and the first
        that matches ends the search; it need not be the best one. None entries and
        invalid native templates are passed over. Give a `Gallery` where the same
        candidates are searched more than once.

        `timeout` is in seconds, for each pass (`retry_turned` may add a second).
        `threads` is 1 or 2; with 2, which of several matches is found depends on
        timing. Ctrl-C ends the search, as does `abort` from another thread.

        MatchTimeoutError, MatchAbortedError: the search ended early.
        TemplateTypeError: the probe, or a candidate that the search reached, is not
        of the matcher's type. InvalidParametersError: an invalid native probe.
        """
        threads = _whole_number(threads, "threads")
        if threads not in (1, 2):
            raise ValueError(f"threads: {threads}; only 1 and 2 are possible")
        limit = _milliseconds(timeout)
        candidates = (gallery if isinstance(gallery, Gallery)
                      else Gallery(template_list(gallery, "gallery")))
        probe = template_bytes(probe, "probe")
        index = ctypes.c_int(-1)
        name = "VXM_Identify" if threads == 1 else "VXM_IdentifyMT"

        def search() -> None:
            with self._lock:
                self._loaded_probe = None
                self._call("identification", name, probe, len(probe), candidates._pointers,
                           candidates._sizes, len(candidates), limit, ctypes.byref(index))

        if threading.current_thread() is threading.main_thread():
            self._interruptibly(search)
        else:
            search()
        return None if index.value < 0 else index.value

    def _interruptibly(self, search: Callable[[], None]) -> None:
        """Runs a search on a thread of its own. Python sees signals only between its
        own instructions on the main thread, which is therefore kept from the call."""
        raised: list[BaseException] = []
        done = threading.Event()  # a join may take an interrupted wait for the end

        def run() -> None:
            try:
                search()
            except BaseException as error:  # handed to the caller, whatever it is
                raised.append(error)
            finally:
                done.set()

        threading.Thread(target=run, name="vxmkit identification", daemon=True).start()
        try:
            while not done.wait(_SIGNAL_INTERVAL):
                pass
        except BaseException:
            # An abort before the search has begun goes unseen.
            while not done.wait(0.001):
                self.abort()
            raise
        if raised:
            raise raised[0]

    def abort(self) -> None:
        """Ends the identification that is running, with MatchAbortedError where it was
        called. For another thread; without effect when none is running, and on
        `matches`."""
        with self._ending:
            if self._handle is not None:
                self._library.VXM_AbortIdentify(self._handle)

    def matches(self, probe: Template, candidates: Iterable[Template | None]) -> Iterator[int]:
        """Yields the indices of all candidates that match the probe, in their order,
        while it takes them one by one: they need never be in memory together.

        Every format is compared and decided as native, so that of ISO and ANSI records
        those turned by more than about 15 degrees against the probe are missed: take
        `verify` for them. None never matches. The matcher may do other things meanwhile, at the cost of
        loading the probe again.

        TemplateTypeError: the probe or a candidate is not a usable template of the
        matcher's type.
        """
        probe = template_bytes(probe, "probe")
        return self._matches(probe, many(candidates, "candidates"))

    def _matches(self, probe: bytes, candidates: Iterable[object]) -> Iterator[int]:
        own_probe = object()
        matched = ctypes.c_int()
        for index, candidate in enumerate(candidates):
            data = (None if candidate is None
                    else template_bytes(candidate, f"candidates[{index}]"))
            with self._lock:
                if self._loaded_probe is not own_probe:
                    self._loaded_probe = None
                    self._call("loading the probe", "VXM_IdentifyInit", probe, len(probe))
                    self._loaded_probe = own_probe
                self._call(f"candidate {index}", "VXM_IdentifyNext", data, len(data or b""),
                           ctypes.byref(matched))
            if matched.value:
                yield index

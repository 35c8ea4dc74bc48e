"""The matcher: settings, verification, identification, half turn."""
from __future__ import annotations

import ctypes
import dataclasses
import threading
from collections.abc import Callable, Iterable, Iterator

from .constants import SCORE_SCALE, SECURITY_LEVELS, Parameter, TemplateType, TextSize
from .gallery import Gallery
from .library import load, require_ok
from .template_format import ATTRIBUTE_BLOCK, body_size, detect_type

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


class Matcher:
    """Compares fingerprint templates of one format.

        with Matcher(TemplateType.ISO19794_2, security_level=5) as matcher:
            if matcher.verify(probe, candidate): ...

    It holds about 3.7 MB until it is closed. It may be used from several threads,
    whose calls then wait for each other; comparisons run one at a time in the whole
    process anyway, so that only further processes make use of further cores.

    Templates are bytes-like; they are only read. Every method may raise a `VxmError`
    and, after `close`, ValueError.
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
        with self._lock:
            self._loaded_probe = None
            self._call("setting the template type", "VXM_SetTemplateType", TemplateType(value))

    @property
    def security_level(self) -> int:
        """1 (lenient) to 7 (strict), at first 4. ValueError: any other."""
        return self._get(Parameter.SECURITY_LEVEL)

    @security_level.setter
    def security_level(self, value: int) -> None:
        if value not in SECURITY_LEVELS:
            raise ValueError(f"security level {value} is not 1 to 7")
        self._set(Parameter.SECURITY_LEVEL, int(value))

    @property
    def fast_mode(self) -> bool:
        """Whether identification compares reduced templates first; at first True."""
        return bool(self._get(Parameter.FAST_MODE))

    @fast_mode.setter
    def fast_mode(self, value: bool) -> None:
        self._set(Parameter.FAST_MODE, bool(value))

    @property
    def retry_turned(self) -> bool:
        """Whether a failed comparison is followed by one with the probe turned by
        180 degrees; at first False."""
        return bool(self._get(Parameter.RETRY_TURNED))

    @retry_turned.setter
    def retry_turned(self, value: bool) -> None:
        self._set(Parameter.RETRY_TURNED, bool(value))

    @property
    def version(self) -> str:
        """The library's version text."""
        return self._text(Parameter.VERSION)

    @property
    def copyright(self) -> str:
        """The library's copyright text."""
        return self._text(Parameter.COPYRIGHT)

    # ---- One to one

    def verify(self, probe: bytes, candidate: bytes) -> Verification:
        """Compares two templates. The order matters a little: the score of (a, b)
        may differ from that of (b, a).

        TemplateTypeError: one is not of the matcher's type. InvalidParametersError,
        DataCorruptedError: a native template, a standard record is not valid.
        """
        probe, candidate = bytes(probe), bytes(candidate)
        score, matched = ctypes.c_float(), ctypes.c_int()
        with self._lock:
            self._loaded_probe = None
            self._call("verification", "VXM_VerifyEx", probe, len(probe), candidate,
                       len(candidate), ctypes.byref(score), ctypes.byref(matched))
        return Verification(round(score.value * SCORE_SCALE), bool(matched.value))

    # ---- Turning

    def rotate(self, template: bytes) -> bytes:
        """The template turned by 180 degrees, in its own format, which may be any of
        the three. A standard record keeps only the minutiae inside its image.

        TemplateTypeError: no template, or an invalid one.
        """
        template = bytes(template)
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

    def identify(self, probe: bytes, gallery: Gallery | Iterable[bytes | None], *,
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
        if threads not in (1, 2):
            raise ValueError(f"{threads} threads: only 1 and 2 are possible")
        # 0 would be no limit, so that a very short one counts as a millisecond.
        limit = 0 if timeout is None else max(1, round(timeout * 1000))
        if limit > _LONGEST_TIMEOUT or timeout is not None and timeout < 0:
            raise ValueError(f"a timeout of {timeout} seconds is out of range")
        candidates = gallery if isinstance(gallery, Gallery) else Gallery(gallery)
        probe = bytes(probe)
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

    def matches(self, probe: bytes, candidates: Iterable[bytes | None]) -> Iterator[int]:
        """Yields the indices of all candidates that match the probe, in their order,
        while it takes them one by one: they need never be in memory together.

        The decision is on the native scale for every format (see `THRESHOLDS`), and
        None never matches. The matcher may do other things meanwhile, at the cost of
        loading the probe again.

        TemplateTypeError: the probe or a candidate is not a usable template of the
        matcher's type.
        """
        probe = bytes(probe)
        own_probe = object()
        matched = ctypes.c_int()
        for index, candidate in enumerate(candidates):
            data = None if candidate is None else bytes(candidate)
            with self._lock:
                if self._loaded_probe is not own_probe:
                    self._loaded_probe = None
                    self._call("loading the probe", "VXM_IdentifyInit", probe, len(probe))
                    self._loaded_probe = own_probe
                self._call(f"candidate {index}", "VXM_IdentifyNext", data, len(data or b""),
                           ctypes.byref(matched))
            if matched.value:
                yield index

"""Matcher as a Python host uses it."""
import os
import signal
import threading
import time
from pathlib import Path

import pytest

import vxmkit
from vxmkit import Gallery, Matcher, Status, TemplateType, library

TYPES = {".vxt": TemplateType.NATIVE, ".iso": TemplateType.ISO19794_2,
         ".ansi": TemplateType.ANSI378}


def column(folder: Path, suffix: str, impression: int) -> list[bytes]:
    return [file.read_bytes() for file in sorted(folder.glob(f"*_{impression}{suffix}"))]


@pytest.fixture(scope="module")
def endless(fingers: Path) -> tuple[bytes, Gallery]:
    """A search without a match that takes seconds, in normal mode anywhere."""
    first, *others = column(fingers, ".vxt", 1)
    return first, Gallery(others * 60_000)


@pytest.mark.parametrize("suffix", TYPES)
def test_verification_and_thresholds(fingers: Path, suffix: str) -> None:
    """Every format is recognised, and THRESHOLDS say what the library decides."""
    probes, candidates = column(fingers, suffix, 1), column(fingers, suffix, 2)
    assert {vxmkit.detect_type(probe) for probe in probes} == {TYPES[suffix]}
    seen = set()
    for level, threshold in zip(vxmkit.SECURITY_LEVELS, vxmkit.THRESHOLDS[TYPES[suffix]]):
        with Matcher(TYPES[suffix], security_level=level) as matcher:
            for probe in probes:
                for candidate in candidates:
                    result = matcher.verify(probe, memoryview(candidate))
                    assert bool(result) == (result.points >= threshold)
                    assert 0 <= result.score < 1
                    seen.add((level, result.matched))
    assert len(seen) == 14


def test_settings() -> None:
    with Matcher(security_level=6, retry_turned=True) as matcher:
        assert matcher.template_type is TemplateType.NATIVE
        assert (matcher.security_level, matcher.fast_mode, matcher.retry_turned) == (6, True, True)
        matcher.template_type = TemplateType.ANSI378
        matcher.fast_mode = matcher.retry_turned = False
        assert matcher.template_type is TemplateType.ANSI378
        assert (matcher.fast_mode, matcher.retry_turned) == (False, False)
        for level in (0, 8):
            with pytest.raises(ValueError, match="is not 1 to 7"):
                matcher.security_level = level
        assert len(matcher.version) == 22 and len(matcher.copyright) == 31
    with pytest.raises(ValueError, match="closed"):
        matcher.security_level
    matcher.abort()
    matcher.close()


@pytest.mark.parametrize("suffix", TYPES)
@pytest.mark.parametrize("threads", [1, 2])
def test_identification(fingers: Path, suffix: str, threads: int) -> None:
    probes, candidates = column(fingers, suffix, 1), column(fingers, suffix, 2)
    with Matcher(TYPES[suffix]) as matcher:
        assert matcher.identify(probes[3], candidates, threads=threads) == 3
        holed = [None if index == 3 else each for index, each in enumerate(candidates)]
        assert matcher.identify(probes[3], Gallery(holed), threads=threads) is None
        assert matcher.identify(probes[3], [], threads=threads) is None
        matcher.retry_turned = True
        assert matcher.identify(matcher.rotate(probes[3]), candidates, threads=threads) == 3


def test_matches(fingers: Path) -> None:
    """An iterator goes on beside other uses of its matcher, and other iterators."""
    probes = column(fingers, ".vxt", 1)
    stream = [None, *column(fingers, ".vxt", 2), *column(fingers, ".vxt", 3)]
    with Matcher() as matcher:
        found = {finger: matcher.matches(probe, iter(stream))
                 for finger, probe in enumerate(probes)}
        for finger, each in found.items():
            assert next(each) == finger + 1
            matcher.verify(probes[0], probes[1])
        for finger, each in found.items():
            assert list(each) == [finger + 13]
        with pytest.raises(vxmkit.TemplateTypeError, match="candidate 1"):
            list(matcher.matches(probes[0], [None, b"text"]))


@pytest.mark.parametrize("suffix", TYPES)
def test_rotation(fingers: Path, suffix: str) -> None:
    template = column(fingers, suffix, 1)[0]
    with Matcher(TYPES[suffix]) as matcher:
        turned = matcher.rotate(bytearray(template))
        assert not matcher.verify(turned, template)
        matcher.retry_turned = True
        assert matcher.verify(turned, template)
        assert matcher.rotate(turned + b"more") == matcher.rotate(turned)
        with pytest.raises(vxmkit.TemplateTypeError):
            matcher.rotate(b"")


def test_errors(fingers: Path) -> None:
    native, iso = (column(fingers, suffix, 1)[0] for suffix in (".vxt", ".iso"))
    with Matcher() as matcher:
        for kind, code, probe in ((vxmkit.TemplateTypeError, Status.ERR_TEMPLATE_TYPE, iso),
                                  (vxmkit.InvalidParametersError, Status.ERR_INVALID_PARAMETERS,
                                   native[:-1])):
            with pytest.raises(kind) as caught:
                matcher.verify(probe, native)
            assert caught.value.code is code
            assert str(caught.value) == f"verification: {library.status_text(code)} ({code:d})"
        with pytest.raises(vxmkit.InvalidParametersError):
            matcher.identify(native[:-1], [native])
        for wrong in ({"threads": 3}, {"timeout": -1}, {"timeout": 1e9}):
            with pytest.raises(ValueError):
                matcher.identify(native, [native], **wrong)
        matcher.template_type = TemplateType.ISO19794_2
        with pytest.raises(vxmkit.DataCorruptedError):
            matcher.verify(iso[:-1], iso)


@pytest.mark.parametrize("call, named", [
    (lambda matcher, one: matcher.verify(5, one), "probe"),
    (lambda matcher, one: matcher.verify(one, "text"), "candidate"),
    (lambda matcher, one: matcher.identify(None, [one]), "probe"),
    (lambda matcher, one: matcher.identify(one, one), "gallery"),
    (lambda matcher, one: matcher.identify(one, [None, 5]), r"gallery\[1\]"),
    (lambda matcher, one: matcher.identify(one, [one], threads="2"), "threads"),
    (lambda matcher, one: matcher.identify(one, [one], timeout="2"), "timeout"),
    (lambda matcher, one: list(matcher.matches(one, [one, "text"])), r"candidates\[1\]"),
    (lambda matcher, one: matcher.matches(one, one), "candidates"),
    (lambda matcher, one: matcher.rotate("text"), "template"),
    (lambda matcher, one: Gallery(one), "templates"),
    (lambda matcher, one: Matcher("iso"), "template_type"),
    (lambda matcher, one: Matcher(security_level=True), "security_level"),
    (lambda matcher, one: Matcher(fast_mode="no"), "fast_mode"),
    (lambda matcher, one: Matcher(retry_turned=2), "retry_turned"),
    (lambda matcher, one: vxmkit.detect_type("text"), "template"),
])
def test_wrong_types_are_named(fingers: Path, call, named: str) -> None:
    with Matcher() as matcher, pytest.raises(TypeError, match=f"^{named}: "):
        call(matcher, column(fingers, ".vxt", 1)[0])


@pytest.mark.parametrize("threads", [1, 2])
def test_early_ends(endless: tuple[bytes, Gallery], threads: int) -> None:
    """Time limit, abort from a thread, and Ctrl-C; the matcher serves on."""
    probe, gallery = endless
    with Matcher(fast_mode=False) as matcher:
        with pytest.raises(vxmkit.MatchTimeoutError):
            matcher.identify(probe, gallery, timeout=0.05, threads=threads)
        for delay, end, error in (
                (0.3, matcher.abort, vxmkit.MatchAbortedError),
                (0.3, lambda: os.kill(os.getpid(), signal.SIGINT), KeyboardInterrupt)):
            timer = threading.Timer(delay, end)
            timer.start()
            with pytest.raises(error):
                matcher.identify(probe, gallery, threads=threads)
            timer.join()
            assert matcher._lock.acquire(blocking=False)  # nothing goes on unseen
            matcher._lock.release()
        assert matcher.verify(probe, probe)


def test_threads_share_a_matcher(fingers: Path) -> None:
    probes, candidates = column(fingers, ".vxt", 1), column(fingers, ".vxt", 2)
    wrong = []
    with Matcher() as matcher:
        def work(finger: int) -> None:
            for _ in range(20):
                if matcher.identify(probes[finger], candidates) != finger:
                    wrong.append(finger)
                if list(matcher.matches(probes[finger], candidates)) != [finger]:
                    wrong.append(finger)

        threads = [threading.Thread(target=work, args=(finger,)) for finger in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
    assert not wrong


def test_close_waits_for_a_search(endless: tuple[bytes, Gallery]) -> None:
    probe, gallery = endless
    matcher = Matcher(fast_mode=False)
    ended = []

    def search() -> None:
        with pytest.raises(vxmkit.MatchTimeoutError):
            matcher.identify(probe, gallery, timeout=0.3)
        ended.append(True)

    thread = threading.Thread(target=search)
    thread.start()
    time.sleep(0.1)
    matcher.close()
    thread.join()
    assert ended


def test_library_is_named_when_missing(monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setenv(library.VARIABLE, "/nowhere/libvxmkit.so")
    with pytest.raises(vxmkit.LibraryNotFoundError, match="/nowhere/libvxmkit.so"):
        library.load.__wrapped__()

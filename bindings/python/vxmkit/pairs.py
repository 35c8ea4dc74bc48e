"""Which templates are compared with which: long lists of pairs that need not be in
memory. A pair is an index of a probe and one of a candidate; any range of a list can
be had by itself."""
from __future__ import annotations

from collections.abc import Iterator
from typing import Any, Protocol

import numpy as np
from numpy.typing import NDArray

Indices = NDArray[np.int64]
_STEP = 1 << 20  # pairs that are looked at at once


def as_list(array: NDArray[Any]) -> list[Any]:
    """The entries of an array of one dimension, as numbers of Python's own."""
    # By numpy's own types it may be a number alone, as of an array without dimensions.
    values: Any = array.tolist()
    return list(values)


class Pairs(Protocol):
    def __len__(self) -> int: ...

    def between(self, start: int, stop: int) -> tuple[Indices, Indices]:
        """Probes and candidates of the pairs numbered start..stop - 1."""
        ...

    def identity(self) -> Iterator[bytes]:
        """Bytes that are the same only for the same pairs."""
        ...


class Matrix:
    """Every probe with every candidate, row by row."""

    def __init__(self, probes: int, candidates: int) -> None:
        self._shape = (probes, candidates)

    def __len__(self) -> int:
        return self._shape[0] * self._shape[1]

    def between(self, start: int, stop: int) -> tuple[Indices, Indices]:
        probes, candidates = np.divmod(np.arange(start, stop), self._shape[1])
        return probes, candidates

    def identity(self) -> Iterator[bytes]:
        yield f"matrix {self._shape}".encode()


class Listed:
    """The rows of an integer array of shape (n, 2), which may be memory-mapped."""

    def __init__(self, rows: NDArray[np.integer[Any]]) -> None:
        self._rows = rows

    def __len__(self) -> int:
        return len(self._rows)

    def between(self, start: int, stop: int) -> tuple[Indices, Indices]:
        rows = np.asarray(self._rows[start:stop], dtype=np.int64)
        return rows[:, 0], rows[:, 1]

    def identity(self) -> Iterator[bytes]:
        yield f"listed {len(self)}".encode()
        for start in range(0, len(self), _STEP):
            yield np.ascontiguousarray(self._rows[start:start + _STEP], dtype="<i8").tobytes()


class Triangle:
    """Each of some templates with each later one."""

    def __init__(self, members: Indices) -> None:
        self._members = members
        # Where the row of each begins.
        self._starts = np.concatenate([[0], np.cumsum(np.arange(len(members) - 1, 0, -1))])

    def __len__(self) -> int:
        return len(self._members) * (len(self._members) - 1) // 2

    def between(self, start: int, stop: int) -> tuple[Indices, Indices]:
        pairs = np.arange(start, stop)
        first = np.searchsorted(self._starts, pairs, side="right") - 1
        second = pairs - self._starts[first] + first + 1
        return self._members[first], self._members[second]

    def identity(self) -> Iterator[bytes]:
        yield f"triangle {len(self._members)}".encode()
        yield self._members.astype("<i8").tobytes()


class Chain:
    """The pairs of one list, then those of another."""

    def __init__(self, first: Pairs, second: Pairs) -> None:
        self._parts = (first, second)

    def __len__(self) -> int:
        return len(self._parts[0]) + len(self._parts[1])

    def between(self, start: int, stop: int) -> tuple[Indices, Indices]:
        first, second = self._parts
        begin = len(first)
        left = first.between(min(start, begin), min(stop, begin))
        right = second.between(max(start, begin) - begin, max(stop, begin) - begin)
        return np.concatenate([left[0], right[0]]), np.concatenate([left[1], right[1]])

    def identity(self) -> Iterator[bytes]:
        for part in self._parts:
            yield f"{len(part)}: ".encode()
            yield from part.identity()


def listed_pairs(pairs: object, probes: int, candidates: int) -> Listed:
    """Pairs as a caller gives them. TypeError: no integers. ValueError: not of shape
    (n, 2), or an index that is out of range."""
    rows = pairs if isinstance(pairs, np.ndarray) else np.asarray(pairs)
    if rows.size == 0:
        rows = rows.reshape(0, 2).astype(np.int64)
    if not np.issubdtype(rows.dtype, np.integer):
        raise TypeError(f"pairs: indices are integers, not {rows.dtype}")
    if rows.ndim != 2 or rows.shape[1] != 2:
        raise ValueError(f"pairs: an array of shape (n, 2) is wanted, not {rows.shape}")
    for start in range(0, len(rows), _STEP):
        part = rows[start:start + _STEP]
        wrong = ((part < 0) | (part >= (probes, candidates))).any(axis=1)
        if wrong.any():
            at = int(wrong.argmax())
            raise ValueError(f"pairs[{start + at}] is {tuple(part[at].tolist())}, and there are "
                             f"{probes} probes and {candidates} candidates")
    return Listed(rows)

"""Multilevel hypergraph partitioning.

Read or build a hypergraph, then split its vertices into ``k`` parts whose weights stay within
an imbalance bound while as little hyperedge weight as possible is cut::

    import hypra

    h = hypra.Hypergraph([[0, 1, 2], [3, 4, 5], [2, 3]])
    result = hypra.partition(h, 2, imbalance=0.03, seed=1)
    result.parts   # array([0, 0, 0, 1, 1, 1], dtype=int32)
    result.cut     # 1

Every failure raises a subclass of :class:`Error` carrying the library's message:
:class:`InputError` (also a ``ValueError``) for invalid arguments, malformed hypergraphs and
unreadable or malformed files, :class:`BalanceError` when no partition keeps every part within
the bound, :class:`OutOfMemoryError` (also a ``MemoryError``) when memory runs out. A failed call
leaves the interpreter and the library as they were.

The partitioning call releases the interpreter lock while it runs, so other Python threads go on
(and several partitions may run at once on different threads). It cannot be interrupted with
Ctrl-C.
"""

from __future__ import annotations

import dataclasses
import operator
import os
import time
from collections.abc import Iterable
from typing import Any, Optional, Sequence, Tuple

import numpy as np

from . import _hypra
from ._hypra import BalanceError, Error, InputError, OutOfMemoryError

__version__: str = _hypra.version()

__all__ = [
    "BalanceError",
    "Error",
    "Hypergraph",
    "InputError",
    "Metrics",
    "OutOfMemoryError",
    "PartitionResult",
    "metrics",
    "partition",
    "read",
    "__version__",
]

# The file formats read() knows, by name; None chooses by the file's extension.
FORMATS = ("hgr", "mtx-colnet", "mtx-rownet", "patoh")
_FORMAT_CODES = {
    None: _hypra.FORMAT_AUTO,
    "hgr": _hypra.FORMAT_HGR,
    "mtx-colnet": _hypra.FORMAT_MTX_COLNET,
    "mtx-rownet": _hypra.FORMAT_MTX_ROWNET,
    "patoh": _hypra.FORMAT_PATOH,
}
_METHODS = {"recursive": _hypra.RECURSIVE, "direct": _hypra.DIRECT}
_OBJECTIVES = {"cut": 1, "soed": 2}
_PRESETS = {"default": _hypra.PRESET_DEFAULT, "quality": _hypra.PRESET_QUALITY}


def _quality_runs(k: int) -> int:
    # As hypra-advanced: the quality preset spends its time on k-way refinement rather than on
    # many runs per bisection.
    return 4 if k <= 4 else 3 if k <= 8 else 2
_INT32_MAX = 2**31 - 1
_MAX_THREADS = 4096


def _count(value: Any, what: str, low: int = 0, high: int = _INT32_MAX) -> int:
    """Returns ``value`` as an int in ``low..high``, or raises InputError."""
    if isinstance(value, (bool, np.bool_)):
        raise InputError(f"{what} must be an integer, not {value!r}")
    try:
        number = operator.index(value)
    except TypeError:
        raise InputError(f"{what} must be an integer, not {value!r}") from None
    if not low <= number <= high:
        raise InputError(f"{what} must be between {low} and {high}, not {number}")
    return number


def _int32_array(values: Any, what: str) -> np.ndarray:
    """Returns ``values`` as a new read-only one-dimensional int32 array, or raises InputError.

    Only integers are accepted: floats, strings and nested sequences are refused rather than
    rounded or flattened, and every value must fit 32 bits.
    """
    try:
        array = np.asarray(values)
    except (TypeError, ValueError) as e:
        raise InputError(f"{what} is not an array of integers: {e}") from None
    if array.ndim != 1:
        raise InputError(f"{what} must be one-dimensional, not of shape {array.shape}")
    if array.size == 0:
        array = np.zeros(0, dtype=np.int32)
    elif array.dtype.kind not in "iu":
        raise InputError(f"{what} must hold integers, not {array.dtype}")
    elif array.min() < -_INT32_MAX - 1 or array.max() > _INT32_MAX:
        raise InputError(f"{what} holds values outside the 32-bit range")
    result = np.array(array, dtype=np.int32, copy=True)
    result.flags.writeable = False
    return result


def _optional_int32_array(values: Any, what: str, length: int) -> Optional[np.ndarray]:
    """As _int32_array, but None stays None, and the array must hold ``length`` entries."""
    if values is None:
        return None
    array = _int32_array(values, what)
    if len(array) != length:
        raise InputError(f"{what} has {len(array)} entries, not {length}")
    return array


class Hypergraph:
    """A hypergraph: vertices ``0 .. num_vertices-1`` and hyperedges, each a set of vertices.

    ``Hypergraph(hyperedges, num_vertices=None, vertex_weights=None, hyperedge_weights=None)``
    takes the hyperedges either

    - as an iterable (a list, say) of pin lists, each naming its vertices from 0:
      ``Hypergraph([[0, 1, 2], [2, 3]])``; or
    - as a tuple ``(eptr, eind)`` of compressed arrays, where the pins of hyperedge ``e`` are
      ``eind[eptr[e]:eptr[e+1]]``: ``Hypergraph(([0, 3, 5], [0, 1, 2, 2, 3]))``. (A tuple of two
      items is always read this way; pass pin lists as a list.)

    ``num_vertices`` defaults to the length of ``vertex_weights`` when they are given, else to one
    more than the largest pin (vertices no hyperedge names are isolated vertices). Weights default
    to 1; weights must not be negative. A vertex may appear only once in a hyperedge.

    Attributes (read-only numpy int32 arrays; the constructor copies its input):
    ``num_vertices``, ``num_hyperedges``, ``num_pins``, ``eptr`` (``num_hyperedges + 1``
    offsets), ``eind`` (the pins), ``vertex_weights`` and ``hyperedge_weights`` (None for unit
    weights).

    Raises InputError for anything malformed: a pin outside ``0 .. num_vertices-1``, a negative
    count, decreasing offsets, arrays of the wrong length, non-integer values.
    """

    __slots__ = ("num_vertices", "eptr", "eind", "vertex_weights", "hyperedge_weights")

    def __init__(
        self,
        hyperedges: Any,
        num_vertices: Optional[int] = None,
        vertex_weights: Optional[Sequence[int]] = None,
        hyperedge_weights: Optional[Sequence[int]] = None,
    ) -> None:
        if isinstance(hyperedges, tuple) and len(hyperedges) == 2:
            eptr = _int32_array(hyperedges[0], "eptr")
            eind = _int32_array(hyperedges[1], "eind")
        elif isinstance(hyperedges, (str, bytes)) or not isinstance(hyperedges, Iterable):
            raise InputError(
                "hyperedges must be a list of pin lists or a tuple (eptr, eind), "
                f"not {type(hyperedges).__name__}"
            )
        else:
            eptr, eind = _pin_lists_to_csr(hyperedges)
        if num_vertices is None:
            if vertex_weights is not None:
                num_vertices = len(vertex_weights)
            else:
                num_vertices = int(eind.max()) + 1 if len(eind) > 0 else 0
        self._set(_count(num_vertices, "num_vertices"), eptr, eind, vertex_weights,
                  hyperedge_weights)

    def _set(self, nvtxs: int, eptr: np.ndarray, eind: np.ndarray, vertex_weights: Any,
             hyperedge_weights: Any) -> None:
        """Checks the arrays and keeps them."""
        if len(eptr) == 0:
            raise InputError("eptr needs at least one entry (eptr[0] = 0)")
        if eptr[0] != 0:
            raise InputError(f"eptr[0] must be 0, not {eptr[0]}")
        steps = np.diff(eptr)
        if len(steps) > 0 and steps.min() < 0:
            e = int(np.argmax(steps < 0))
            raise InputError(f"eptr decreases at hyperedge {e} ({eptr[e]} > {eptr[e + 1]})")
        if eptr[-1] != len(eind):
            raise InputError(f"eptr ends at {eptr[-1]}, but eind has {len(eind)} pins")
        if len(eind) > 0:
            bad = np.flatnonzero((eind < 0) | (eind >= nvtxs))
            if len(bad) > 0:
                j = int(bad[0])
                raise InputError(
                    f"pin {j} names vertex {eind[j]}, outside 0..{nvtxs - 1} "
                    f"({nvtxs} vertices)"
                )
            edge = np.repeat(np.arange(len(steps)), steps)
            order = np.lexsort((eind, edge))
            same = (edge[order][1:] == edge[order][:-1]) & (eind[order][1:] == eind[order][:-1])
            if same.any():
                j = int(order[1:][same][0])
                raise InputError(f"hyperedge {edge[j]} names vertex {eind[j]} more than once")
        nhedges = len(eptr) - 1
        vwgts = _optional_int32_array(vertex_weights, "vertex_weights", nvtxs)
        if vwgts is not None and len(vwgts) > 0 and vwgts.min() < 0:
            v = int(np.argmax(vwgts < 0))
            raise InputError(f"vertex {v} has the negative weight {vwgts[v]}")
        hewgts = _optional_int32_array(hyperedge_weights, "hyperedge_weights", nhedges)
        if hewgts is not None and len(hewgts) > 0 and hewgts.min() < 0:
            e = int(np.argmax(hewgts < 0))
            raise InputError(f"hyperedge {e} has the negative weight {hewgts[e]}")
        self.num_vertices = nvtxs
        self.eptr = eptr
        self.eind = eind
        self.vertex_weights = vwgts
        self.hyperedge_weights = hewgts

    @classmethod
    def from_csr(
        cls,
        eptr: Sequence[int],
        eind: Sequence[int],
        num_vertices: Optional[int] = None,
        vertex_weights: Optional[Sequence[int]] = None,
        hyperedge_weights: Optional[Sequence[int]] = None,
    ) -> "Hypergraph":
        """The hypergraph of the compressed arrays ``eptr`` and ``eind`` (see the class)."""
        return cls((eptr, eind), num_vertices, vertex_weights, hyperedge_weights)

    @property
    def num_hyperedges(self) -> int:
        """The number of hyperedges."""
        return len(self.eptr) - 1

    @property
    def num_pins(self) -> int:
        """The number of pins, summed over hyperedges."""
        return len(self.eind)

    def pins(self, hyperedge: int) -> np.ndarray:
        """The vertices of one hyperedge."""
        e = _count(hyperedge, "hyperedge", 0, self.num_hyperedges - 1)
        return self.eind[self.eptr[e]:self.eptr[e + 1]]

    def hyperedges(self) -> list:
        """The hyperedges as a list of pin lists (the form the constructor takes)."""
        return [self.eind[a:b].tolist() for a, b in zip(self.eptr[:-1], self.eptr[1:])]

    def __repr__(self) -> str:
        weights = []
        if self.vertex_weights is not None:
            weights.append("vertex weights")
        if self.hyperedge_weights is not None:
            weights.append("hyperedge weights")
        extra = f", {' and '.join(weights)}" if weights else ""
        return (
            f"<hypra.Hypergraph: {self.num_vertices} vertices, {self.num_hyperedges} hyperedges, "
            f"{self.num_pins} pins{extra}>"
        )

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, Hypergraph):
            return NotImplemented

        def same(a: Optional[np.ndarray], b: Optional[np.ndarray]) -> bool:
            return (a is None and b is None) or (
                a is not None and b is not None and np.array_equal(a, b)
            )

        return (
            self.num_vertices == other.num_vertices
            and np.array_equal(self.eptr, other.eptr)
            and np.array_equal(self.eind, other.eind)
            and same(self.vertex_weights, other.vertex_weights)
            and same(self.hyperedge_weights, other.hyperedge_weights)
        )

    __hash__ = None  # equal by value, like the arrays it holds, so not hashable


def _pin_lists_to_csr(hyperedges: Iterable) -> Tuple[np.ndarray, np.ndarray]:
    """The compressed arrays of an iterable of pin lists."""
    eptr = [0]
    pieces = []
    for e, pins in enumerate(hyperedges):
        if isinstance(pins, (str, bytes)) or not isinstance(pins, Iterable):
            raise InputError(f"hyperedge {e} must be a list of vertices, not {pins!r}")
        array = _int32_array(list(pins), f"hyperedge {e}")
        pieces.append(array)
        eptr.append(eptr[-1] + len(array))
        if eptr[-1] > _INT32_MAX:
            raise InputError("the hyperedges hold more than 2**31 - 1 pins")
    eind = np.concatenate(pieces) if pieces else np.zeros(0, dtype=np.int32)
    return _int32_array(eptr, "eptr"), _int32_array(eind, "eind")


def read(path: "os.PathLike[str] | str", format: Optional[str] = None) -> Hypergraph:
    """Reads a hypergraph file.

    ``format`` is one of ``"hgr"`` (the hypergraph text format, pins numbered from 1),
    ``"mtx-colnet"`` (Matrix Market, rows are vertices and columns hyperedges),
    ``"mtx-rownet"`` (Matrix Market, rows are hyperedges) or ``"patoh"``; None chooses by the
    extension: ``.mtx`` is mtx-colnet, ``.patoh`` patoh, anything else hgr. Files are held
    strictly to their format; InputError names the file and line of any problem.
    """
    if format not in _FORMAT_CODES:
        raise InputError(f"unknown format {format!r}; use one of {', '.join(FORMATS)} or None")
    try:
        name = os.fsdecode(os.fspath(path))
    except TypeError:
        raise InputError(f"path must be a string or path, not {type(path).__name__}") from None
    nvtxs, eptr, eind, vwgts, hewgts = _hypra.read(name, _FORMAT_CODES[format])
    return Hypergraph((eptr, eind), nvtxs, vwgts, hewgts)


@dataclasses.dataclass(frozen=True)
class Metrics:
    """The quality of a partition into ``k`` parts.

    - ``cut``: weight of the hyperedges that touch two or more parts;
    - ``soed``: sum of external degrees, each cut hyperedge's weight once per part it touches;
    - ``km1``: connectivity - 1, each hyperedge's weight times (parts it touches - 1);
    - ``part_weights``: the vertex weight of every part (numpy int64);
    - ``total_weight`` and ``max_part_weight``: all vertices' weight, and the heaviest part's;
    - ``imbalance``: ``max_part_weight / ceil(total_weight / k) - 1``.
    """

    k: int
    cut: int
    soed: int
    km1: int
    imbalance: float
    part_weights: np.ndarray
    total_weight: int
    max_part_weight: int


@dataclasses.dataclass(frozen=True)
class PartitionResult(Metrics):
    """What :func:`partition` returns: the part of every vertex and its :class:`Metrics`.

    - ``parts``: numpy int32 array, the part (``0 .. k-1``) of every vertex;
    - ``objective``: what the method minimized (the cut, or the SOED with objective="soed");
    - ``seed``: the seed the run used (the one drawn from the clock when none was given), so
      that passing it again repeats the run;
    - the :class:`Metrics` fields ``k``, ``cut``, ``soed``, ``km1``, ``imbalance``,
      ``part_weights``, ``total_weight`` and ``max_part_weight``.
    """

    parts: np.ndarray = dataclasses.field(default=None, repr=False)
    objective: int = 0
    seed: int = 0


def _check_hypergraph(hypergraph: Any) -> Hypergraph:
    """Returns ``hypergraph`` if it is a Hypergraph, or raises InputError."""
    if not isinstance(hypergraph, Hypergraph):
        raise InputError(
            f"expected a hypra.Hypergraph, not {type(hypergraph).__name__} "
            "(build one with hypra.Hypergraph(...) or hypra.read(path))"
        )
    return hypergraph


def _metrics_of(h: Hypergraph, k: int, parts: np.ndarray) -> dict:
    """The library's figures of ``parts``, as keyword arguments of Metrics."""
    m = _hypra.metrics(h.num_vertices, h.eptr, h.eind, h.vertex_weights, h.hyperedge_weights, k,
                       parts)
    return dict(k=k, **m)


def metrics(hypergraph: Hypergraph, parts: Sequence[int], k: Optional[int] = None) -> Metrics:
    """The cut, SOED, connectivity - 1, part weights and imbalance of any partition.

    ``parts`` gives the part (``0 .. k-1``) of every vertex; ``k`` defaults to one more than the
    largest part (at least 1). Raises InputError for a part out of range or a wrong length.
    """
    h = _check_hypergraph(hypergraph)
    p = _optional_int32_array(parts, "parts", h.num_vertices)
    if k is None:
        k = max(int(p.max()) + 1 if len(p) > 0 else 1, 1)
    k = _count(k, "k", 1)
    return Metrics(**_metrics_of(h, k, p))


def partition(
    hypergraph: Hypergraph,
    k: int,
    imbalance: float = 0.03,
    method: str = "recursive",
    objective: str = "cut",
    seed: Optional[int] = None,
    threads: int = 1,
    fixed: Optional[Sequence[int]] = None,
    runs: Optional[int] = None,
    preset: str = "default",
) -> PartitionResult:
    """Partitions the vertices of ``hypergraph`` into ``k`` parts.

    - ``k``: the number of parts, at least 2.
    - ``imbalance``: EPS with 0 < EPS < 1; no part may weigh more than
      ``(1 + EPS) * ceil(W / k)``, rounded down, W the total vertex weight.
    - ``method``: ``"recursive"`` (recursive bisection, then a k-way refinement of the whole
      partition) or ``"direct"`` (coarsen once, split into k parts at once, refine k-way).
    - ``objective``: ``"cut"`` (weight of cut hyperedges) or ``"soed"`` (sum of external
      degrees; direct method only).
    - ``seed``: a non-negative integer makes the run repeatable; None draws one from the clock
      (the nanosecond time) and reports it as ``result.seed``.
    - ``threads``: N >= 1 runs the library's parallel mode on N threads, whose partition is the
      same for every N (for a given seed); 0 the serial run, which draws its random numbers
      differently and so gives another partition for the same seed. With the direct method and
      the default preset the serial run seeds its inner bisections from the clock, so it
      repeats only within one second; use threads >= 1 or the quality preset for a repeatable
      direct partition.
    - ``fixed``: None, or one entry per vertex, -1 for a free vertex or the part it must end in
      (recursive method only).
    - ``runs``: multilevel runs per bisection (recursive) or trials (direct), at least 1; None
      takes the preset's: 10, or with the quality preset and the recursive method 4 for k <= 4,
      3 for k <= 8 and 2 beyond, as ``hypra-advanced --preset quality`` does.
    - ``preset``: ``"default"`` or ``"quality"``: k-way FM refinement after the recursion (and,
      with the direct method, on every level), then flow-based refinement between adjacent
      parts after the recursion; lower cuts for a little more time than the direct method. With
      the recursive method and 3 to 8 parts the recursion runs again with a coarsening that keeps
      within communities of the hypergraph (twice up to 4 parts); the recursions within 1 % of
      the lowest cut are refined and the best kept.

    Returns a :class:`PartitionResult`. Raises InputError for invalid arguments or hypergraphs,
    BalanceError when no partition keeps every part within the bound (its ``parts`` attribute
    holds the partition found, or None when the bound was impossible from the start: a vertex, or
    the vertices fixed to one part, weigh more than a part may), OutOfMemoryError when memory runs
    out. The interpreter lock is released while the library works.
    """
    h = _check_hypergraph(hypergraph)
    k = _count(k, "k", 2)
    try:
        eps = float(imbalance)
    except (TypeError, ValueError):
        raise InputError(f"imbalance must be a number, not {imbalance!r}") from None
    if not 0 < eps < 1:
        raise InputError(f"imbalance must be between 0 and 1 (exclusive), not {imbalance!r}")
    if method not in _METHODS:
        raise InputError(f"method must be 'recursive' or 'direct', not {method!r}")
    if objective not in _OBJECTIVES:
        raise InputError(f"objective must be 'cut' or 'soed', not {objective!r}")
    if objective == "soed" and method != "direct":
        raise InputError("objective 'soed' needs method='direct'; recursive bisection minimizes "
                         "the cut")
    if seed is None:
        seed = time.time_ns() % 2**31
    seed = _count(seed, "seed", 0, 2**63 - 1)
    threads = _count(threads, "threads", 0, _MAX_THREADS)
    if preset not in _PRESETS:
        raise InputError(f"preset must be 'default' or 'quality', not {preset!r}")
    if runs is None:
        runs = _quality_runs(k) if preset == "quality" and method == "recursive" else 10
    runs = _count(runs, "runs", 1)
    fixed_parts = _optional_int32_array(fixed, "fixed", h.num_vertices)
    if fixed_parts is not None:
        if method == "direct":
            raise InputError("fixed vertices need method='recursive'")
        if len(fixed_parts) > 0 and (fixed_parts.min() < -1 or fixed_parts.max() >= k):
            v = int(np.argmax((fixed_parts < -1) | (fixed_parts >= k)))
            raise InputError(f"fixed part of vertex {v} is {fixed_parts[v]}, outside -1..{k - 1}")
    # The recursive method's rtype chooses its FM variant (1, the default); the direct method's
    # chooses the objective.
    rtype = _OBJECTIVES[objective] if method == "direct" else 1
    parts, best = _hypra.partition(h.num_vertices, h.eptr, h.eind, h.vertex_weights,
                                   h.hyperedge_weights, k, _METHODS[method], rtype, eps, seed,
                                   threads, runs, fixed_parts, _PRESETS[preset])
    return PartitionResult(parts=parts, objective=best, seed=seed, **_metrics_of(h, k, parts))

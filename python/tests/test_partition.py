"""Partitioning: both methods and objectives, the imbalance bound, fixed vertices, seeds,
threads and the reported metrics."""

import numpy as np
import pytest

import hypra
from conftest import bound, cut_of, part_weights


def check(h, result, k, eps):
    """The result is a partition into k parts within the bound, and its figures are right."""
    parts = result.parts
    assert isinstance(parts, np.ndarray) and parts.dtype == np.int32
    assert parts.shape == (h.num_vertices,)
    assert parts.min() >= 0 and parts.max() < k
    weights = part_weights(h, parts, k)
    assert weights.max() <= bound(h, k, eps)
    assert result.part_weights.tolist() == weights.tolist()
    assert result.max_part_weight == weights.max()
    assert result.total_weight == weights.sum()
    assert result.cut == cut_of(h, parts)
    assert result.km1 >= result.cut and result.soed >= result.cut
    assert result.imbalance == pytest.approx(weights.max() / -(-weights.sum() // k) - 1)
    assert result.imbalance <= eps + 1e-12
    assert result.k == k


def test_two_triangles(triangles):
    result = hypra.partition(triangles, 2, seed=1)
    assert result.cut == 1
    assert result.objective == 1
    assert result.seed == 1
    assert sorted([result.parts[:3].tolist(), result.parts[3:].tolist()]) == [[0, 0, 0], [1, 1, 1]]


@pytest.mark.parametrize("method", ["recursive", "direct"])
@pytest.mark.parametrize("k", [2, 3, 8])
def test_methods_keep_the_bound(medium, method, k):
    result = hypra.partition(medium, k, imbalance=0.03, method=method, seed=3)
    check(medium, result, k, 0.03)
    assert result.objective == result.cut


@pytest.mark.parametrize("method", ["recursive", "direct"])
def test_weighted_hypergraph(weighted, method):
    result = hypra.partition(weighted, 4, imbalance=0.05, method=method, seed=5)
    check(weighted, result, 4, 0.05)


def test_soed_objective(medium):
    result = hypra.partition(medium, 6, method="direct", objective="soed", seed=2)
    check(medium, result, 6, 0.03)
    assert result.objective == result.soed


@pytest.mark.parametrize("eps", [0.01, 0.1, 0.5])
def test_other_bounds(medium, eps):
    check(medium, hypra.partition(medium, 5, imbalance=eps, seed=4), 5, eps)


def test_fixed_vertices_stay(medium):
    fixed = np.full(medium.num_vertices, -1)
    fixed[:40] = 0
    fixed[40:80] = 3
    fixed[1000:1010] = 1
    result = hypra.partition(medium, 4, fixed=fixed, seed=8)
    check(medium, result, 4, 0.03)
    assert (result.parts[:40] == 0).all()
    assert (result.parts[40:80] == 3).all()
    assert (result.parts[1000:1010] == 1).all()
    # A plain list works as well.
    again = hypra.partition(medium, 4, fixed=fixed.tolist(), seed=8)
    assert np.array_equal(result.parts, again.parts)


# The serial direct run (threads=0) seeds its inner bisections from the clock, so it is left out.
@pytest.mark.parametrize(
    "method, threads", [("recursive", 0), ("recursive", 1), ("direct", 1), ("direct", 2)]
)
def test_same_seed_same_parts(medium, method, threads):
    a = hypra.partition(medium, 4, method=method, seed=123, threads=threads)
    b = hypra.partition(medium, 4, method=method, seed=123, threads=threads)
    assert np.array_equal(a.parts, b.parts)
    assert a.cut == b.cut


@pytest.mark.parametrize("method", ["recursive", "direct"])
def test_every_thread_count_gives_the_same_parts(medium, method):
    one = hypra.partition(medium, 8, method=method, seed=9, threads=1)
    for threads in (2, 3):
        other = hypra.partition(medium, 8, method=method, seed=9, threads=threads)
        assert np.array_equal(one.parts, other.parts), threads


def test_serial_mode(medium):
    result = hypra.partition(medium, 4, seed=9, threads=0)
    check(medium, result, 4, 0.03)


def test_clock_seed_is_reported_and_repeats(medium):
    result = hypra.partition(medium, 4, runs=2)
    assert isinstance(result.seed, int) and result.seed >= 0
    again = hypra.partition(medium, 4, runs=2, seed=result.seed)
    assert np.array_equal(result.parts, again.parts)


# Four and six parts by recursion: attempts coarsening within communities as well.
@pytest.mark.parametrize("method,k", [("recursive", 6), ("recursive", 4), ("direct", 6)])
def test_quality_preset_keeps_the_bound_and_repeats(medium, method, k):
    result = hypra.partition(medium, k, method=method, seed=2, preset="quality")
    check(medium, result, k, 0.03)
    again = hypra.partition(medium, k, method=method, seed=2, preset="quality", threads=2)
    assert np.array_equal(result.parts, again.parts)


def test_quality_preset_runs_as_the_program_does(medium):
    # Without runs the preset picks its own count, as hypra-advanced does: four up to four parts.
    for k, runs in ((2, 4), (4, 4), (6, 3), (16, 2)):
        chosen = hypra.partition(medium, k, seed=3, preset="quality")
        named = hypra.partition(medium, k, seed=3, preset="quality", runs=runs)
        assert np.array_equal(chosen.parts, named.parts), k
    check(medium, chosen, 16, 0.03)


def test_unknown_preset_is_an_input_error(medium):
    with pytest.raises(hypra.InputError, match="preset"):
        hypra.partition(medium, 2, preset="fast")


def test_runs(medium):
    check(medium, hypra.partition(medium, 4, runs=1, seed=1), 4, 0.03)


def test_metrics_of_any_partition(triangles):
    m = hypra.metrics(triangles, [0, 0, 1, 1, 2, 2])
    assert (m.k, m.cut, m.soed, m.km1) == (3, 2, 4, 2)
    assert m.part_weights.tolist() == [2, 2, 2]
    assert m.imbalance == 0
    m = hypra.metrics(triangles, [0, 0, 0, 0, 0, 1], k=2)
    assert (m.cut, m.max_part_weight, m.total_weight) == (1, 5, 6)
    assert m.imbalance == pytest.approx(5 / 3 - 1)
    with pytest.raises(hypra.InputError):
        hypra.metrics(triangles, [0, 0, 0, 0, 0, 2], k=2)
    with pytest.raises(hypra.InputError):
        hypra.metrics(triangles, [0, 1])


def test_tiny_and_empty_hypergraphs():
    assert hypra.partition(hypra.Hypergraph([]), 2, seed=1).parts.tolist() == []
    # Isolated vertices are spread over the parts like any other.
    result = hypra.partition(hypra.Hypergraph([[]], num_vertices=4), 2, seed=1)
    assert sorted(result.part_weights.tolist()) == [2, 2]
    assert result.cut == 0


def test_numpy_integers_are_accepted():
    h = hypra.Hypergraph([[0, 1], [1, 2], [2, 3]])
    result = hypra.partition(h, np.int64(2), seed=np.uint32(3), threads=np.int8(2),
                             runs=np.int16(4))
    assert result.cut == 1

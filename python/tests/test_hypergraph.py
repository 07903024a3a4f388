"""Building hypergraphs from pin lists and from compressed arrays, and refusing malformed ones."""

import numpy as np
import pytest

import hypra


def test_from_pin_lists():
    h = hypra.Hypergraph([[0, 1, 2], [3, 4, 5], [2, 3]])
    assert h.num_vertices == 6
    assert h.num_hyperedges == 3
    assert h.num_pins == 8
    assert h.eptr.dtype == np.int32 and h.eind.dtype == np.int32
    assert h.eptr.tolist() == [0, 3, 6, 8]
    assert h.eind.tolist() == [0, 1, 2, 3, 4, 5, 2, 3]
    assert h.vertex_weights is None and h.hyperedge_weights is None
    assert h.pins(2).tolist() == [2, 3]
    assert h.hyperedges() == [[0, 1, 2], [3, 4, 5], [2, 3]]
    assert "6 vertices" in repr(h)


def test_from_csr_tuple_and_classmethod():
    eptr = np.array([0, 3, 6, 8])
    eind = np.array([0, 1, 2, 3, 4, 5, 2, 3], dtype=np.int64)
    a = hypra.Hypergraph((eptr, eind))
    b = hypra.Hypergraph.from_csr(eptr.tolist(), eind.tolist())
    c = hypra.Hypergraph([[0, 1, 2], [3, 4, 5], [2, 3]])
    assert a == b == c
    assert a.eind.dtype == np.int32


def test_csr_arrays_are_copied_and_read_only():
    eind = np.array([0, 1, 1, 2], dtype=np.int32)
    h = hypra.Hypergraph((np.array([0, 2, 4]), eind))
    eind[0] = 2
    assert h.eind.tolist() == [0, 1, 1, 2]
    with pytest.raises(ValueError):
        h.eind[0] = 5


def test_weights_and_explicit_vertex_count():
    h = hypra.Hypergraph([[0, 1], [1, 2]], num_vertices=5, vertex_weights=[1, 2, 3, 4, 0],
                         hyperedge_weights=[7, 9])
    assert h.num_vertices == 5
    assert h.vertex_weights.tolist() == [1, 2, 3, 4, 0]
    assert h.vertex_weights.dtype == np.int32
    assert h.hyperedge_weights.tolist() == [7, 9]
    # The vertex count follows the weights when it is not given.
    assert hypra.Hypergraph([[0, 1]], vertex_weights=[1, 1, 1]).num_vertices == 3


def test_empty_hypergraphs():
    h = hypra.Hypergraph([])
    assert (h.num_vertices, h.num_hyperedges, h.eptr.tolist()) == (0, 0, [0])
    h = hypra.Hypergraph([[]], num_vertices=3)
    assert (h.num_vertices, h.num_hyperedges, h.num_pins) == (3, 1, 0)


@pytest.mark.parametrize(
    "args, kwargs, words",
    [
        (([[0, 1], [1, 5]],), {"num_vertices": 4}, "outside 0..3"),
        (([[0, -1]],), {"num_vertices": 4}, "outside"),
        (([[0, 1]],), {"num_vertices": -1}, "num_vertices"),
        (([[0, 1]],), {"num_vertices": 2.5}, "num_vertices"),
        (([[0, 1]],), {"vertex_weights": [1, 2, 3], "num_vertices": 2}, "vertex_weights"),
        (([[0, 1]],), {"vertex_weights": [1, -2]}, "negative"),
        (([[0, 1], [1]],), {"hyperedge_weights": [1]}, "hyperedge_weights"),
        (([[0, 1], [1]],), {"hyperedge_weights": [1, -3]}, "hyperedge 1 has the negative"),
        (([[0, 1.5]],), {}, "integers"),
        (([[0, 1, 1]],), {}, "more than once"),
        (([["a", "b"]],), {}, "integers"),
        (([[0, 2**40]],), {}, "32-bit"),
        (([0, 1],), {}, "list of vertices"),
        ((5,), {}, "list of pin lists"),
        ((([0, 2, 1], [0, 1]),), {}, "decreases"),
        ((([1, 2], [0, 1]),), {}, r"eptr\[0\]"),
        ((([0, 2], [0, 1, 2]),), {}, "eind has 3"),
        ((([], []),), {}, "at least one entry"),
        ((([[0, 2]], [0, 1]),), {}, "one-dimensional"),
    ],
)
def test_malformed_input_raises_input_error(args, kwargs, words):
    with pytest.raises(hypra.InputError, match=words):
        hypra.Hypergraph(*args, **kwargs)


def test_input_error_is_a_value_error():
    with pytest.raises(ValueError):
        hypra.Hypergraph([[0, 3]], num_vertices=2)

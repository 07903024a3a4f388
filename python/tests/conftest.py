"""Shared fixtures of the Python package's tests: small hypergraphs and their metrics."""

import math

import numpy as np
import pytest

import hypra


def bound(h, k, eps):
    """The heaviest a part may be: (1 + eps) * ceil(W / k), rounded down."""
    w = h.num_vertices if h.vertex_weights is None else int(h.vertex_weights.sum())
    return math.floor((1 + eps) * math.ceil(w / k))


def part_weights(h, parts, k):
    """The weight of every part, computed here rather than by the library."""
    weights = np.ones(h.num_vertices, dtype=np.int64) if h.vertex_weights is None \
        else h.vertex_weights.astype(np.int64)
    return np.bincount(parts, weights=weights, minlength=k).astype(np.int64)


def cut_of(h, parts):
    """The weight of the hyperedges whose pins lie in two or more parts."""
    cut = 0
    for e in range(h.num_hyperedges):
        pins = h.pins(e)
        if len(set(parts[pins].tolist())) > 1:
            cut += 1 if h.hyperedge_weights is None else int(h.hyperedge_weights[e])
    return cut


def random_hypergraph(nvtxs, nhedges, seed, weighted=False):
    """A circuit-like hypergraph: hyperedges of 2 to 6 pins near a driver vertex."""
    rng = np.random.default_rng(seed)
    hyperedges = []
    for _ in range(nhedges):
        size = int(rng.integers(2, 7))
        driver = int(rng.integers(0, nvtxs))
        near = (driver + rng.integers(-40, 41, size=size * 2)) % nvtxs
        pins = list(dict.fromkeys(near.tolist()))[:size]
        if len(pins) < 2:
            pins = [driver, (driver + 1) % nvtxs]
        hyperedges.append(pins)
    vwgts = rng.integers(1, 5, size=nvtxs) if weighted else None
    hewgts = rng.integers(1, 4, size=nhedges) if weighted else None
    return hypra.Hypergraph(hyperedges, nvtxs, vwgts, hewgts)


@pytest.fixture
def triangles():
    """Two triangles joined by the hyperedge {2, 3}: the best bisection cuts only it."""
    return hypra.Hypergraph([[0, 1, 2], [3, 4, 5], [2, 3]])


@pytest.fixture(scope="session")
def medium():
    """2,000 vertices and 2,500 hyperedges, unit weights."""
    return random_hypergraph(2000, 2500, seed=7)


@pytest.fixture(scope="session")
def weighted():
    """1,500 vertices and 1,800 hyperedges with vertex and hyperedge weights."""
    return random_hypergraph(1500, 1800, seed=11, weighted=True)

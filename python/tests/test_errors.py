"""Every failure raises the package's exception with the library's message, and the interpreter
and the library go on working afterwards."""

import subprocess
import sys
import textwrap

import numpy as np
import pytest

import hypra


def test_hierarchy():
    assert issubclass(hypra.InputError, hypra.Error)
    assert issubclass(hypra.InputError, ValueError)
    assert issubclass(hypra.BalanceError, hypra.Error)
    assert issubclass(hypra.OutOfMemoryError, hypra.Error)
    assert issubclass(hypra.OutOfMemoryError, MemoryError)
    assert issubclass(hypra.Error, Exception)
    assert hypra.Error.__module__ == "hypra"


def test_version():
    assert hypra.__version__ == "1.0.0"
    assert all(part.isdigit() for part in hypra.__version__.split("."))


@pytest.mark.parametrize(
    "kwargs, words",
    [
        ({"k": 1}, "k must be"),
        ({"k": 2.0}, "k must be an integer"),
        ({"imbalance": 0}, "imbalance"),
        ({"imbalance": 1.0}, "imbalance"),
        ({"imbalance": "a lot"}, "imbalance"),
        ({"method": "kway"}, "method"),
        ({"objective": "km1"}, "objective"),
        ({"objective": "soed"}, "needs method='direct'"),
        ({"seed": -1}, "seed"),
        ({"threads": -1}, "threads"),
        ({"threads": 5000}, "threads"),
        ({"runs": 0}, "runs"),
        ({"fixed": [0, 1]}, "fixed"),
        ({"fixed": [0, -1, -1, -1, -1, 2]}, "fixed part of vertex 5"),
        ({"fixed": [0, -1, -1, -1, -1, 1], "method": "direct"}, "method='recursive'"),
    ],
)
def test_bad_arguments(triangles, kwargs, words):
    kwargs = {"k": 2, **kwargs}
    with pytest.raises(hypra.InputError, match=words):
        hypra.partition(triangles, **kwargs)


def test_not_a_hypergraph():
    with pytest.raises(hypra.InputError, match="hypra.Hypergraph"):
        hypra.partition([[0, 1], [1, 2]], 2)


def test_library_checks_reach_python():
    # Weights whose sum the engine cannot hold are refused by the library itself; its message
    # comes through.
    h = hypra.Hypergraph([[0, 1], [1, 2]], vertex_weights=[2**30, 2**30, 1])
    with pytest.raises(hypra.InputError, match="vertex weights add up") as info:
        hypra.partition(h, 2, seed=1)
    assert str(info.value).startswith("HYPRA")
    assert info.value.status == 1
    h = hypra.Hypergraph([[0, 1], [1, 2]], hyperedge_weights=[2**30, 2**30])
    with pytest.raises(hypra.InputError, match="hyperedge weights"):
        hypra.partition(h, 2, seed=1)


def test_balance_impossible_before_partitioning():
    # A vertex of weight 10 exceeds the bound floor(1.03 * ceil(13 / 2)) = 7.
    h = hypra.Hypergraph([[0, 1], [1, 2], [2, 3]], vertex_weights=[10, 1, 1, 1])
    with pytest.raises(hypra.BalanceError) as info:
        hypra.partition(h, 2, seed=1)
    assert "imbalance bound" in str(info.value)
    assert info.value.parts is None
    assert info.value.status == 2


def test_balance_missed_after_partitioning():
    # Three vertices of weight 10 cannot go into two parts of at most 15 each.
    h = hypra.Hypergraph([[0, 1], [1, 2]], vertex_weights=[10, 10, 10])
    with pytest.raises(hypra.BalanceError) as info:
        hypra.partition(h, 2, seed=1)
    assert "imbalance bound" in str(info.value)
    parts = info.value.parts
    assert isinstance(parts, np.ndarray) and parts.shape == (3,)
    assert set(parts.tolist()) <= {0, 1}


def test_fixed_weight_beyond_the_bound():
    h = hypra.Hypergraph([[0, 1], [1, 2], [2, 3]])
    with pytest.raises(hypra.BalanceError):
        hypra.partition(h, 2, fixed=[0, 0, 0, -1], seed=1)


def test_next_call_works_after_each_error(triangles, tmp_path):
    failures = [
        lambda: hypra.partition(hypra.Hypergraph([[0, 1]], vertex_weights=[2**30, 2**30]), 2),
        lambda: hypra.partition(hypra.Hypergraph([[0, 1]], vertex_weights=[5, 1]), 2),
        lambda: hypra.read(tmp_path / "missing.hgr"),
        lambda: hypra.metrics(triangles, [0, 0, 0, 0, 0, 9], k=2),
    ]
    for fail in failures:
        with pytest.raises(hypra.Error):
            fail()
        assert hypra.partition(triangles, 2, seed=1).cut == 1


SURVIVOR = textwrap.dedent(
    """
    import hypra
    h = hypra.Hypergraph([[0, 1, 2], [3, 4, 5], [2, 3]])
    heavy = hypra.Hypergraph([[0, 1], [1, 2]], vertex_weights=[2**30, 2**30, 1])
    for k in (1, 2, 3):
        try:
            hypra.partition(h if k == 1 else heavy, k, seed=1)
        except hypra.InputError as e:
            print("refused", k)
    try:
        hypra.partition(h, 2, fixed=[0, 0, 0, 0, -1, -1], seed=1)
    except hypra.BalanceError:
        print("balance")
    print("cut", hypra.partition(h, 2, seed=1).cut)
    """
)


def test_interpreter_survives_errors():
    # In a process of its own, so that an error that ended the process could not go unseen.
    run = subprocess.run([sys.executable, "-c", SURVIVOR], capture_output=True, text=True,
                         timeout=120)
    assert run.returncode == 0, run.stderr
    assert run.stdout.split("\n") == ["refused 1", "refused 2", "refused 3", "balance",
                                      "cut 1", ""]
    # A failed call prints nothing.
    assert run.stderr == ""


OUT_OF_MEMORY = textwrap.dedent(
    """
    import resource
    import numpy as np
    import hypra
    rng = np.random.default_rng(1)
    n = 200000
    eind = np.stack([np.arange(n), (np.arange(n) + rng.integers(1, 50, n)) % n], axis=1).ravel()
    h = hypra.Hypergraph((np.arange(0, 2 * n + 1, 2), eind), n)
    soft, hard = resource.getrlimit(resource.RLIMIT_AS)
    with open("/proc/self/statm") as f:
        used = int(f.read().split()[0]) * resource.getpagesize()
    resource.setrlimit(resource.RLIMIT_AS, (used + (8 << 20), hard))
    try:
        hypra.partition(h, 2, seed=1, threads=0)
        print("no error")
    except hypra.OutOfMemoryError as e:
        print("memory", isinstance(e, MemoryError), bool(str(e)))
    resource.setrlimit(resource.RLIMIT_AS, (soft, hard))
    small = hypra.Hypergraph([[0, 1, 2], [3, 4, 5], [2, 3]])
    print("cut", hypra.partition(small, 2, seed=1).cut)
    """
)


def test_out_of_memory_is_reported_and_survived():
    run = subprocess.run([sys.executable, "-c", OUT_OF_MEMORY], capture_output=True, text=True,
                         timeout=300)
    assert run.returncode == 0, run.stderr
    assert run.stdout.split("\n") == ["memory True True", "cut 1", ""]

"""Reading every file format, by name and by extension, and refusing malformed files."""

import pytest

import hypra

# Two triangles joined by {2, 3}, written in every format. Weighted where the format allows.
HGR = """% two triangles
3 6 11
1 1 2 3
1 4 5 6
5 3 4
1
1
2
2
1
1
"""
HGR_PLAIN = "3 6\n1 2 3\n4 5 6\n3 4\n"
# Matrix Market: an entry (r, c) puts row r in column c.
MTX = """%%MatrixMarket matrix coordinate pattern general
% rows are vertices in the column-net model
6 3 8
1 1
2 1
3 1
4 2
5 2
6 2
3 3
4 3
"""
PATOH = """% base cells nets pins scheme
0 6 3 8 3
1 0 1 2
1 3 4 5
5 2 3
1 1 2 2 1 1
"""

TRIANGLES = [[0, 1, 2], [3, 4, 5], [2, 3]]


def write(tmp_path, name, text):
    path = tmp_path / name
    path.write_text(text)
    return path


def test_hgr_with_weights(tmp_path):
    h = hypra.read(write(tmp_path, "t.hgr", HGR))
    assert h.hyperedges() == TRIANGLES
    assert h.hyperedge_weights.tolist() == [1, 1, 5]
    assert h.vertex_weights.tolist() == [1, 1, 2, 2, 1, 1]


def test_hgr_without_weights_by_name(tmp_path):
    # Any extension other than .mtx and .patoh reads as hgr; the name also forces it.
    path = write(tmp_path, "plain.txt", HGR_PLAIN)
    for h in (hypra.read(path), hypra.read(str(path), format="hgr")):
        assert h.hyperedges() == TRIANGLES
        assert h.vertex_weights is None and h.hyperedge_weights is None


def test_mtx_colnet_by_extension(tmp_path):
    h = hypra.read(write(tmp_path, "t.mtx", MTX))
    assert h.num_vertices == 6
    assert h.hyperedges() == TRIANGLES


def test_mtx_rownet(tmp_path):
    h = hypra.read(write(tmp_path, "t.mtx", MTX), format="mtx-rownet")
    # Rows become hyperedges and columns vertices: row r holds the columns it has entries in.
    assert h.num_vertices == 3
    assert h.hyperedges() == [[0], [0], [0, 2], [1, 2], [1], [1]]
    assert h == hypra.read(write(tmp_path, "u.data", MTX), format="mtx-rownet")


def test_mtx_colnet_by_name(tmp_path):
    h = hypra.read(write(tmp_path, "matrix.data", MTX), format="mtx-colnet")
    assert h.hyperedges() == TRIANGLES


def test_patoh(tmp_path):
    for h in (hypra.read(write(tmp_path, "t.patoh", PATOH)),
              hypra.read(write(tmp_path, "t.u", PATOH), format="patoh")):
        assert h.hyperedges() == TRIANGLES
        assert h.hyperedge_weights.tolist() == [1, 1, 5]
        assert h.vertex_weights.tolist() == [1, 1, 2, 2, 1, 1]


def test_a_read_hypergraph_partitions(tmp_path):
    h = hypra.read(write(tmp_path, "t.hgr", HGR_PLAIN))
    result = hypra.partition(h, 2, seed=1)
    assert result.cut == 1


def test_missing_file(tmp_path):
    with pytest.raises(hypra.InputError) as info:
        hypra.read(tmp_path / "absent.hgr")
    assert "absent.hgr" in str(info.value)
    assert info.value.status == 3


@pytest.mark.parametrize(
    "name, text",
    [
        ("bad.hgr", "2 3\n1 2\n2 7\n"),                  # a pin outside 1..3
        ("bad.hgr", "2 3\n1 2\n2 x\n"),                  # not a number
        ("bad.hgr", "2 3\n1 2\n"),                       # a hyperedge line missing
        ("bad.mtx", "%%MatrixMarket matrix array real general\n2 2\n1\n2\n3\n4\n"),
        ("bad.patoh", "0 3 1 3\n0 1 2 5\n"),            # pins beyond the header's count
    ],
)
def test_malformed_files_name_file_and_line(tmp_path, name, text):
    path = write(tmp_path, name, text)
    with pytest.raises(hypra.InputError) as info:
        hypra.read(path)
    assert name in str(info.value)
    assert str(info.value) != ""


def test_unknown_format_and_path_type(tmp_path):
    path = write(tmp_path, "t.hgr", HGR_PLAIN)
    with pytest.raises(hypra.InputError, match="unknown format"):
        hypra.read(path, format="graph")
    with pytest.raises(hypra.InputError, match="path"):
        hypra.read(17)

"""The rest of a net's make-up from Python: what is set survives a write and read, state edits
carry the tables with them, and the other kinds of finding change the beliefs as they should."""
import numpy as np
import pytest

import quorva

from conftest import joint_small


def test_make_up_survives_a_file_round_trip(small, tmp_path):
    b = small.nodes["B"]
    b.user_fields = {"source": "expert", "note": "two words"}
    small.user_fields = {"author": "me"}
    b.state_titles = ["Yes it is", ""]
    b.input_names = ["fromA", ""]
    b.position = (120.5, -3)
    b.nodesets = ["Outputs", "Watched"]
    path = str(tmp_path / "small.dne")
    small.write(path)
    with quorva.read(path) as back:
        nb = back.nodes["B"]
        assert nb.user_fields == {"source": "expert", "note": "two words"}
        assert back.user_fields == {"author": "me"}
        assert nb.state_titles == ["Yes it is", ""]
        assert nb.input_names == ["fromA", ""]
        assert nb.position == (120.5, -3)
        assert nb.nodesets == {"Outputs", "Watched"}
        assert set(back.nodesets) == {"Outputs", "Watched"}


def test_state_edits_carry_the_tables(small):
    c = small.nodes["C"]
    before = small.nodes["B"].table.copy()
    c.reorder_states(["c2", "c0", "c1"])
    assert c.states == ("c2", "c0", "c1")
    np.testing.assert_allclose(c.table, [0.3, 0.2, 0.5])
    np.testing.assert_allclose(small.nodes["B"].table, before[:, [2, 0, 1], :])
    c.remove_state("c0")
    assert c.states == ("c2", "c1")
    np.testing.assert_allclose(small.nodes["B"].table, before[:, [2, 1], :])
    c.add_states(["c9"], before=0)
    assert c.states == ("c9", "c2", "c1")
    with pytest.raises(ValueError):
        c.reorder_states(["c9", "c2"])


def test_not_finding_and_random_case(small):
    small.nodes["C"].enter_not("c1")
    joint = joint_small()  # axes A, C, B
    joint[:, 1, :] = 0
    expected = joint.sum(axis=(1, 2)) / joint.sum()
    np.testing.assert_allclose(small.beliefs("A"), expected, rtol=1e-6)
    case = small.random_case(["A", "B"])
    assert set(case) == {"A", "B"}
    assert small.findings["A"] == case["A"]


def test_elimination_order_and_settings(small):
    small.elimination_order = ["B", "A", "C"]
    assert small.elimination_order == ["B", "A", "C"]
    small.compile()
    assert "clique" in small.junction_tree_report().lower()
    small.elimination_order = None
    assert small.elimination_order is None
    with pytest.raises(quorva.Error):
        small.elimination_order = ["B", "A"]  # a node left out
    before = quorva.set_memory_limit(1e12)
    quorva.set_memory_limit(before)


def test_copy_nodes_into_another_net(small):
    with quorva.Net("Other") as other:
        copies = other.copy_nodes([small.nodes["A"], small.nodes["B"]])
        assert [c.name for c in copies] == ["A", "B"]
        assert [p.name for p in other.nodes["B"].parents][0] == "A"

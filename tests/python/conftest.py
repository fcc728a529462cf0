import os
import pathlib

import numpy as np
import pytest

import quorva

DATA = pathlib.Path(os.environ.get("QUORVA_TEST_DATA", pathlib.Path(__file__).parents[1] / "data"))

# The small net's tables: P(A), P(C) and P(B | A, C) with axes A, C, B.
PA = np.array([0.3, 0.7])
PC = np.array([0.2, 0.5, 0.3])
_YES = np.array([[0.1, 0.4, 0.7], [0.9, 0.6, 0.25]])
PB = np.stack([_YES, 1 - _YES], axis=-1)


@pytest.fixture
def alarm():
    with quorva.read(str(DATA / "alarm.bif")) as net:
        yield net


def small_net(name="Small", tables=True):
    """A(2) and C(3) are parents of B(2), in that order; B's table rows differ for every
    parent configuration, so a transposed axis gives other beliefs."""
    net = quorva.Net(name)
    a = net.add_node("A", ["a0", "a1"])
    c = net.add_node("C", ["c0", "c1", "c2"])
    b = net.add_node("B", ["yes", "no"])
    net.add_link(a, b)
    net.add_link(c, b)
    if tables:
        a.table, c.table, b.table = PA.copy(), PC.copy(), PB.copy()  # the references stay untouched
    return net


@pytest.fixture
def small():
    net = small_net()
    yield net
    net.delete()


def two_nodes(name, pa, pb, states=("t", "f")):
    """A -> B, both with `states`, with the tables given."""
    net = quorva.Net(name)
    a = net.add_node("A", list(states))
    b = net.add_node("B", list(states))
    net.add_link(a, b)
    a.table, b.table = np.array(pa), np.array(pb)
    return net


def joint_small():
    """P(A, C, B) of the small net, by hand: axes A, C, B."""
    return PA[:, None, None] * PC[None, :, None] * PB

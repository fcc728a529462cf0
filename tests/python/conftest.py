import os
import pathlib

import numpy as np
import pytest

import quorva

DATA = pathlib.Path(os.environ.get("QUORVA_TEST_DATA", pathlib.Path(__file__).parents[1] / "data"))


@pytest.fixture
def alarm():
    with quorva.read(str(DATA / "alarm.bif")) as net:
        yield net


@pytest.fixture
def small():
    """A(2) and C(3) are parents of B(2), in that order; B's table rows differ for every
    parent configuration, so a transposed axis gives other beliefs."""
    net = quorva.Net("Small")
    a = net.add_node("A", ["a0", "a1"])
    c = net.add_node("C", ["c0", "c1", "c2"])
    b = net.add_node("B", ["yes", "no"])
    net.add_link(a, b)
    net.add_link(c, b)
    a.table = np.array([0.3, 0.7])
    c.table = np.array([0.2, 0.5, 0.3])
    yes = np.array([[0.1, 0.4, 0.7], [0.9, 0.6, 0.25]])
    b.table = np.stack([yes, 1 - yes], axis=-1)
    yield net
    net.delete()


def joint_small():
    """P(A, C, B) of the small net, by hand: axes A, C, B."""
    pa = np.array([0.3, 0.7])
    pc = np.array([0.2, 0.5, 0.3])
    yes = np.array([[0.1, 0.4, 0.7], [0.9, 0.6, 0.25]])
    pb = np.stack([yes, 1 - yes], axis=-1)
    return pa[:, None, None] * pc[None, :, None] * pb

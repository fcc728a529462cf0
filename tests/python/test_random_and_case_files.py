import copy
import gc
import itertools
import pickle

import numpy as np
import pytest

import quorva

from conftest import DATA


@pytest.fixture
def asia():
    with quorva.read(str(DATA / "asia.bif")) as net:
        yield net


@pytest.fixture(autouse=True)
def default_case_files():
    with quorva.case_file_settings(delimiter="\t", missing="*", value_form="name"):
        yield


def equation_net():
    """B = 3 A with A spread over two intervals: each table row comes from draws of A."""
    net = quorva.Net("Eq")
    a = net.add_node("A", 0)
    b = net.add_node("B", 0)
    net.add_link(a, b)
    a.levels = [0.0, 1.0, 2.0]
    b.levels = [0.0, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0]
    b.equation = "B (A) = A * 3"
    return net


def draws(kind, net, random):
    if kind == "numbers":
        return random.random(5)
    if kind == "sample":
        return net.sample(50, random=random).to_numpy()
    if kind == "approx":
        return net.approx_beliefs("lw", samples=2000, random=random)[0]["dyspnoea"]
    if kind == "random_case":
        out = net.random_case(random=random)
        net.retract()
        return np.array(list(out.values()))
    eq = equation_net()
    eq.nodes["B"].equation_to_table(samples=7, random=random)
    table = eq.nodes["B"].table
    eq.delete()
    return table


@pytest.mark.parametrize("kind", ["numbers", "sample", "approx", "random_case", "equation"])
def test_the_same_seed_gives_the_same_draws(asia, kind):
    first = draws(kind, asia, quorva.Random(7))
    assert np.array_equal(first, draws(kind, asia, quorva.Random(7)))
    assert any(not np.array_equal(first, draws(kind, asia, quorva.Random(seed))) for seed in (8, 9, 10))


def test_a_state_continues_its_sequence():
    r = quorva.Random(11)
    r.random(3)
    state = r.state
    ahead = r.random(4)
    for again in (quorva.Random.from_state(state), quorva.Random(state)):
        assert np.array_equal(again.random(4), ahead)
    r = quorva.Random.from_state(state)
    for twin in (copy.copy(r), pickle.loads(pickle.dumps(r))):
        assert np.array_equal(twin.random(4), ahead)
    assert 0 <= r.random() < 1 and r.random(0).shape == (0,)


def test_a_net_draws_from_its_own_generator_until_given_another(asia):
    asia.random = quorva.Random(5)  # the net alone holds it
    gc.collect()
    first = asia.sample(30).to_numpy()
    asia.random = quorva.Random(5)
    assert np.array_equal(asia.sample(30).to_numpy(), first)
    own = quorva.Random(5)
    asia.random = own
    asia.sample(30, random=quorva.Random(99))  # one call's generator leaves the net's own alone
    assert np.array_equal(asia.sample(30).to_numpy(), first)
    assert asia.random == own
    asia.random = None
    assert asia.random is None


def test_bad_generators_are_refused(asia):
    state = quorva.Random(1).state
    for seed, number in [(-1, 3841), ("abc", 3840), ("0" * 19, 3840), (state[:100], 3612),
                         (state[:-1] + "g", 3839)]:
        with pytest.raises(quorva.Error) as e:
            quorva.Random(seed)
        assert e.value.number == number
    with pytest.raises(ValueError):
        asia.sample(5, seed=3, random=quorva.Random(1))
    with pytest.raises(TypeError):
        asia.random = 3


@pytest.mark.parametrize("delimiter,missing", [(",", "?"), (" ", "-"), (",", "")])
def test_case_files_are_written_and_read_back_in_the_settings(asia, tmp_path, delimiter, missing):
    cases = asia.sample(400, seed=4)
    cases.iloc[::3, 1] = None
    cases.iloc[::5, 5] = None
    plain, _ = asia.beliefs_batch(cases, nodes=["dyspnoea"])
    path = tmp_path / "cases.txt"
    with quorva.case_file_settings(delimiter=delimiter, missing=missing, value_form="number"):
        asia.sample(3, seed=1, path=str(path))
        header, first = path.read_text().splitlines()[:2]
        assert header.split(delimiter)[0] == "visit_to_Asia" and first.startswith("#")
        with open(path, "w") as out:  # the same cases, written as these settings say
            out.write(delimiter.join(cases.columns) + "\n")
            for row in cases.itertuples(index=False):
                out.write(delimiter.join(missing if v is None else v for v in row) + "\n")
        read, prob = asia.beliefs_batch(str(path), nodes=["dyspnoea"])
        learnt = quorva.read(str(DATA / "asia.bif"))
        for n in learnt.nodes.values():
            n.table = None
            n.experience = None
        learnt.learn(cases, method="em", max_iters=2)  # the package's own case file, in these settings
        learnt.delete()
    assert np.allclose(read["dyspnoea"], plain["dyspnoea"]) and not np.isnan(prob).any()


def test_case_file_settings_are_all_or_nothing_and_restored():
    before = quorva.case_file_settings()
    for kwargs in [dict(missing=""), dict(delimiter=";"), dict(missing="x"), dict(value_form="abbrev"),
                   dict(delimiter=" ", missing="")]:
        with pytest.raises((quorva.Error, ValueError)):
            quorva.case_file_settings(**kwargs)
        assert quorva.case_file_settings() == before
    with quorva.case_file_settings(delimiter=",", missing="", value_form="title") as now:
        assert (now.delimiter, now.missing, now.value_form) == (",", "", "title")
        quorva.case_file_settings(delimiter=" ", missing="?")  # the comma leaves last
    assert quorva.case_file_settings() == before


def test_findings_written_case_by_case_read_back_in_order(asia, tmp_path):
    path = str(tmp_path / "cases.csv")
    written = [{"smoking": "f1"}, {"smoking": "f2", "bronchitis": "g1"}, {}]
    with quorva.case_file_settings(delimiter=",", missing="?"):
        for i, findings in enumerate(written):
            asia.findings = findings
            asia.write_case(path, ["smoking", "bronchitis"], id=i, freq=2.0)
        with open(path, "a") as out:
            out.write("3,1,f9,g1\n4,1,f1,[1;2;3]\n5,1,f2,?\n")  # no such state; a faulty value; fine
        asia.findings = {"dyspnoea": "h1"}
        first = itertools.islice(asia.read_cases(path, ["smoking", "bronchitis"]), 3)
        read = [(case, asia.findings) for case in first]  # dyspnoea is not read, so it stays
        assert read == [((i, 2.0), dict(f, dyspnoea="h1")) for i, f in enumerate(written)]
        cases = asia.read_cases(path)
        with pytest.warns(quorva.QuorvaWarning, match="f9"), pytest.raises(quorva.Error, match="1;2;3"):
            [case for case in cases]
        assert next(cases) == (5, 1.0) and asia.findings == {"smoking": "f2"}
        with pytest.raises(StopIteration):
            next(cases)

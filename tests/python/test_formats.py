import numpy as np
import pytest

import quorva

from conftest import DATA


@pytest.mark.parametrize("format", ["dnet", "bif", "xmlbif", "hugin", "uai"])
def test_a_net_written_in_a_format_reads_back_with_its_beliefs(tmp_path, format):
    path = str(tmp_path / "net.txt")  # a name that names no format
    with quorva.read(str(DATA / "asia.bif")) as net:
        net.write(path, format=format)
        assert quorva.guess_format(path) == format
        with quorva.read(path, format=format) as back:
            assert list(back.nodes) == list(net.nodes)
            for name in net.nodes:
                assert np.allclose(back.beliefs(name), net.beliefs(name), atol=1e-6)


def test_uai_evidence_is_entered_whole_or_not_at_all(tmp_path):
    good, bad = tmp_path / "good.evid", tmp_path / "bad.evid"
    good.write_text("2 0 1 5 0\n")
    bad.write_text("2 0 1 5 7\n")  # node 5 has two states
    with quorva.read(str(DATA / "asia.bif")) as net:
        net.findings = {"bronchitis": "g1"}
        with pytest.raises(quorva.Error):
            net.enter_uai_evidence(str(bad))
        assert net.findings == {"bronchitis": "g1"}
        assert net.enter_uai_evidence(str(good)) == 2
        assert net.findings == {"visit_to_Asia": "a2", "smoking": "f1", "bronchitis": "g1"}
        with pytest.raises(ValueError):
            net.write(str(tmp_path / "x"), format="png")

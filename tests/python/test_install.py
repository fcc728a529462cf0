"""The package as installed by cmake --install, imported with the PYTHONPATH the README gives."""
import os
import pathlib
import subprocess
import sys

import pytest

BUILD = os.environ.get("QUORVA_BUILD_DIR")


@pytest.mark.skipif(not BUILD, reason="needs QUORVA_BUILD_DIR (set by ctest)")
def test_installed_package_imports_and_reads(tmp_path):
    prefix = tmp_path / "prefix"
    subprocess.run(["cmake", "--install", BUILD, "--prefix", str(prefix)], check=True,
                   stdout=subprocess.DEVNULL, timeout=120)
    site = prefix / "lib" / "python3" / "dist-packages"
    assert (site / "quorva" / "__init__.py").is_file()
    env = {k: v for k, v in os.environ.items() if k != "PYTHONPATH"}
    env["PYTHONPATH"] = str(site)
    net = pathlib.Path(os.environ["QUORVA_TEST_DATA"]) / "asia.bif"
    code = ("import quorva, sys; n = quorva.read(sys.argv[1]); "
            "print(quorva.__file__); print(len(n.nodes))")
    out = subprocess.run([sys.executable, "-c", code, str(net)], env=env, check=True, cwd=tmp_path,
                         capture_output=True, text=True, timeout=60).stdout.split()
    assert out[0].startswith(str(site)) and out[1] == "8"

# SPDX-License-Identifier: BSD-3-Clause
"""writing_programs.py -- every program that writes, with inputs to write from: for scripts that spoil their runs"""
import hashlib
import pathlib
import shutil
import subprocess

tree = pathlib.Path(__file__).resolve().parents[2]
# Locks hold no results.
PASSING = (".lock",)
AMOUNTS = """name  type     area  frequency[ppm]  lorentz[Hz]  phase
NAA   lorentz  9     2.01            5            0
Cr    lorentz  6     3.03            5            0
interval: 1.5 to 3.5 ppm
noise: 1000 to 1020 points
derive: ratio = NAA/Cr
amount: NAA, protons=3
"""


def digests(folder):
    found = {}
    for path in sorted(folder.rglob("*")):
        if path.is_file() and not path.name.endswith(PASSING):
            found[str(path.relative_to(folder))] = hashlib.sha256(path.read_bytes()).hexdigest()
    return found


def prepare(folder, programs):
    """The places of all cases, each with its inputs; what of the programs is not there is left out."""
    made = folder / "made"
    made.mkdir()
    script = f'tree={tree}; . "$tree/tests/batch/two_lines.sh"; two_lines_grid grid 3 2 1'
    subprocess.run(["bash", "-c", script], cwd=made, check=True)
    example = tree / "examples" / "c13_kidney"
    for name in ("c13_kidney.fid.f32", "c13_kidney.fid.json", "peaks.txt"):
        shutil.copy(example / name, made)
    (made / "data" / "sub-01" / "mrs").mkdir(parents=True)
    (made / "data" / "dataset_description.json").write_text('{"Name": "trial", "BIDSVersion": "1.10.0"}')
    for k in (1, 2):
        shutil.copy(made / "grid.nii", made / "data" / "sub-01" / "mrs" / f"sub-01_run-{k}_mrsi.nii")

    def call(*command):
        subprocess.run([str(programs / command[0])] + list(command[1:]), cwd=made, check=True, capture_output=True)

    call("varokel-batch", "plan", "grid.nii", "--start", "start.par", "--names", "names.txt", "-o", "planned")
    call("varokel-batch", "plan", "grid.nii", "--start", "start.par", "--names", "names.txt", "--method", "classic", "-o",
         "searched")
    shutil.copytree(made / "planned", made / "fitted", symlinks=True)
    call("varokel-batch", "run", "fitted")
    call("varokel-fit", "c13_kidney.fid.f32", "peaks.txt", "--method", "exact", "--no-report", "-o", "one")
    for ending in ("org", "fit", "res"):  # of no fit, but the picture does not know that
        shutil.copy(made / "one" / "c13_kidney.bin", made / f"drawn.{ending}")
    (made / "empty").mkdir()
    shutil.copytree(made / "fitted", made / "merged", symlinks=True)
    call("varokel-batch", "merge", "merged")
    call("varokel-report", "merged")
    for day in ("monday", "tuesday", "wednesday"):  # of one name, which the pages tell apart
        shutil.copytree(made / "one", made / "days" / day)
    facts = 'json={"SpectrometerFrequency": [123.25], "ResonantNucleus": ["1H"], "EchoTime": 0.03}'
    for kind in ("data", "water"):
        script = (f"perl '{tree}/tests/tools/water_points.pl' {kind} |"
                  " perl -ne 'print $_ x 3' |"
                  f" perl '{tree}/tests/tools/fid_file.pl' nifti dims=3,1,1,1024 '{facts}' >{kind}.nii")
        subprocess.run(["bash", "-c", script], cwd=made, check=True)
    (made / "amounts.txt").write_text(AMOUNTS)
    plan = ["varokel-batch", "plan", "grid.nii", "--start", "start.par", "--names", "names.txt", "-o", "out"]
    water = ["varokel-batch", "plan", "data.nii", "--peaks", "amounts.txt", "--water", "water.nii", "-o", "out"]
    simulate = ["varokel-simulate", "start.par", "--noise", "0.1", "--seed", "1", "-o", "out/simulated.bin"]
    fit = ["varokel-fit", "c13_kidney.fid.f32", "peaks.txt", "--method", "exact", "-o", "out"]
    bids = ["varokel-bids", "data", "out", "participant", "--start", "start.par"]
    table = {
        "import": (["varokel-import", "grid.nii", "-o", "out"], ["--force"], None),
        "fit": (fit, ["--force"], None),
        "plan": (plan, ["--force"], None),
        "water": (water, ["--force"], None),
        "run": (["varokel-batch", "run", "out"], ["--resume"], "planned"),
        "search": (["varokel-batch", "run", "out", "--scratch", "scratch"], ["--resume"], "searched"),
        "merge": (["varokel-batch", "merge", "out"], ["--force"], "fitted"),
        "report": (["varokel-report", "out", "--force"], [], "one"),
        "reports": (["varokel-report", "out", "--force"], [], "days"),
        "overview": (["varokel-report", "out", "--derive", "sum = right+left", "--force"], [], "merged"),
        "bids": (bids, ["--force"], None),
        "simulate": (simulate, ["--force"], "empty"),
        "plot": (["varokel-plot", "drawn", "--hz-per-point", "5", "-o", "out/picture.svg"], ["--force"], "empty"),
        "start": (["varokel-start", "peaks.txt", "-d", "one/c13_kidney.bin", "-o", "out/start.par"], ["--force"], "empty"),
    }
    cases = {}
    for name, (command, more, before) in table.items():
        place = folder / name
        place.mkdir()
        for file in made.iterdir():
            if file.is_file():
                shutil.copy(file, place)
        shutil.copytree(made / "data", place / "data")
        shutil.copytree(made / "one", place / "one")
        (place / "scratch").mkdir()
        cases[name] = (place, command, command + more, made / before if before else None)
    return cases

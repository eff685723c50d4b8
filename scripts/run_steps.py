"""Runs the steps of scripts/test: cheap ones first, each with its time, and a count of all tests at the end."""

import os
import pathlib
import shutil
import subprocess
import sys
import time
import xml.etree.ElementTree as ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[1]
REPORTS = ROOT / "build" / "reports"


# Of all tests that were run.
TOTALS = {"passed": 0, "failed": 0}


class StepFailed(Exception):
    pass


def run(*command, log=None, **options):
    """Runs a command in the root. With a log, its output goes there and only the end of it is shown, if it fails."""
    if not log:
        done = subprocess.run(command, cwd=ROOT, check=False, **options)
    else:
        path = REPORTS / log
        with path.open("w") as output:
            done = subprocess.run(command, cwd=ROOT, check=False, stdout=output, stderr=subprocess.STDOUT, **options)
        if done.returncode != 0:
            print("".join(path.read_text(errors="replace").splitlines(keepends=True)[-200:]), flush=True)
    if done.returncode != 0:
        raise StepFailed


def tracked(*patterns):
    listing = subprocess.run(["git", "ls-files", "-z", *patterns], cwd=ROOT, check=True, capture_output=True, text=True)
    return [name for name in listing.stdout.split("\0") if name and (ROOT / name).exists()]


def check_format():
    # Goldens show what the generator writes, which is for compilers first.
    run("clang-format-14", "--dry-run", "-Werror", *tracked("*.h", "*.cpp", ":!tests/tavogen/golden"))


def check_layers():
    run(sys.executable, "scripts/check-layers")


def build(preset):
    run("cmake", "--preset", preset, log=f"{preset}-configure.log")
    run("cmake", "--build", "--preset", preset, log=f"{preset}-build.log")


def count_tests(programs, cases):
    """How many tests passed and failed: the cases of each test program that reported them, else the program itself."""
    passed = failed = failed_programs = 0
    reports = {path.stem: ElementTree.parse(path).getroot() for path in cases.glob("*.xml")}
    for report in reports.values():
        failures = int(report.get("failures")) + int(report.get("errors"))
        failed += failures
        passed += int(report.get("tests")) - int(report.get("disabled")) - failures
    for program in ElementTree.parse(programs).getroot().iter("testcase"):
        if program.get("status") != "run":
            failed_programs += 1
        elif program.get("name") not in reports:
            passed += 1
    # A program that died has no report of its own, but must count.
    return passed, max(failed, failed_programs)


def test(preset):
    programs, cases = REPORTS / f"{preset}.xml", REPORTS / preset
    programs.unlink(missing_ok=True)
    shutil.rmtree(cases, ignore_errors=True)
    try:
        run("ctest", "--preset", preset, "--output-junit", programs,
            env={**os.environ, "GTEST_OUTPUT": f"xml:{cases}/"})
    finally:
        if programs.exists():
            for name, count in zip(TOTALS, count_tests(programs, cases)):
                TOTALS[name] += count


# Name, what to do, and whether the later steps can do without it.
STEPS = [
    ("format", check_format, True),
    ("layers", check_layers, True),
    ("release-build", lambda: build("release"), False),
    ("release-test", lambda: test("release"), True),
    ("sanitize-build", lambda: build("sanitize"), False),
    ("sanitize-test", lambda: test("sanitize"), True),
    ("tidy", lambda: run("scripts/tidy"), True),
]


def main(names):
    unknown = set(names) - {name for name, _, _ in STEPS}
    if unknown:
        sys.exit(f"unknown steps: {', '.join(sorted(unknown))}; there are {', '.join(name for name, _, _ in STEPS)}")
    # A compiler cache is welcome where there is one.
    if shutil.which("ccache"):
        os.environ.setdefault("CMAKE_CXX_COMPILER_LAUNCHER", "ccache")
    REPORTS.mkdir(parents=True, exist_ok=True)

    failed_steps = []
    for name, action, optional in STEPS:
        if names and name not in names:
            continue
        print(f"== {name}", flush=True)
        start = time.monotonic()
        try:
            action()
        except StepFailed:
            failed_steps.append(name)
        print(f"== {name}: {'failed' if name in failed_steps else 'ok'}, {time.monotonic() - start:.0f} s", flush=True)
        if name in failed_steps and not optional:
            break

    if failed_steps:
        print(f"Failed: {', '.join(failed_steps)}")
    # A step that is no test fails as one test.
    print(f"{TOTALS['passed']} passed, {max(TOTALS['failed'], len(failed_steps))} failed")
    return 1 if failed_steps else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

"""The builds for macOS have every library that the project's CMake asks for."""
import pathlib
import re

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
# What only Linux asks for, and what comes with every system.
LINUX = ("Platform/Linux/", "Tests/Platform/Linux/", "Tests/EndToEnd/", "Helper/", "Benchmarks/")
EVERYWHERE = {"Python3", "Threads"}
BREW = {"GTest": "googletest", "Boost": "boost", "nlohmann_json": "nlohmann-json"}


def libraries():
    """The packages that CMake looks for on a Mac."""
    found = set()
    for file in [*ROOT.glob("[A-Z]*/**/CMakeLists.txt"), *ROOT.glob("cmake/*.cmake")]:
        if not file.relative_to(ROOT).as_posix().startswith(LINUX):
            found |= set(re.findall(r"find_package\((\S+)", file.read_text("utf-8")))
    assert "fmt" in found
    return sorted(found - EVERYWHERE)


@pytest.mark.parametrize("library", libraries())
def test_check_macos_provides_it(library):
    script = (ROOT / "scripts/check-macos").read_text("utf-8")
    assert re.search(rf"^package {library} |-D{library}_INCLUDE_DIR=", script, re.M)


@pytest.mark.parametrize("library", libraries())
def test_the_workflow_and_the_document_install_it(library):
    workflow = (ROOT / ".github/workflows/build.yml").read_text("utf-8")
    document = (ROOT / "docs/macos.md").read_text("utf-8")
    if library == "rapidcheck":
        assert "emil-e/rapidcheck" in workflow and "RapidCheck" in document
        return
    for text in (workflow, document):
        installed = " ".join(re.findall(r"brew install ((?:[\w-]+|\\\n\s*|[ ])+)", text)).split()
        assert BREW.get(library, library) in installed

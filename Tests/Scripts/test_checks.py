"""The checks of scripts/ notice what they are for. Each runs over a small tree made for it."""
import pathlib
import subprocess
import sys

import pytest

SCRIPTS = pathlib.Path(__file__).resolve().parents[2] / "scripts"


def check(name, root):
    done = subprocess.run(
        [sys.executable, SCRIPTS / name, "--root", root], capture_output=True, text=True, timeout=60
    )
    return done.returncode, done.stderr


def write(root, files):
    for folder in ("Base", "Platform", "Runner", "docs"):
        (root / folder).mkdir(exist_ok=True)
    (root / "README.md").touch()
    for name, text in files.items():
        path = root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text + "\n", "utf-8")


@pytest.mark.parametrize(
    "file, line",
    [
        ("Runner/A.cpp", "#include <unistd.h>"),
        ("Runner/A.cpp", "#include <QWidget>"),
        ("Runner/A.cpp", "#include <sys/socket.h>"),
        ("Runner/A.cpp", "#include <simdjson.h>"),
        ("Runner/A.cpp", '#include "../Platform/Platform.h"'),
        ("View/A.cpp", "#include <QWidget>"),
        ("Platform/A.h", "#include <gio/gio.h>"),
        ("Platform/Linux/A.cpp", '#include "../macOS/A.h"'),
        ("Runner/A.mm", "#import <AppKit/AppKit.h>"),
        ("Runner/A.cpp", "#ifdef __APPLE__"),
        ("Runner/A.cpp", "#if defined(__linux__)"),
        ("Runner/A.h", "#elif TARGET_OS_OSX"),
    ],
)
def test_a_wrong_include_is_found_and_named(tmp_path, file, line):
    write(tmp_path, {file: "#pragma once\n" + line})
    code, errors = check("check-layers", tmp_path)
    assert code == 1
    assert f"{file}:2: error: {line}" in errors


@pytest.mark.parametrize(
    "file, line",
    [
        ("Runner/A.cpp", "#include <vector>"),
        ("Runner/A.cpp", "#include <fmt/format.h>"),
        ("Runner/A.cpp", '#include "Base/Result.h"'),
        ("Platform/A.h", '#include "Platform/Geometry.h"'),
        ("Platform/Linux/A.cpp", "#include <QWidget>"),
        ("Base/A.cpp", "#include <sys/socket.h>"),
        ("Base/A.cpp", "#ifdef __APPLE__"),
    ],
)
def test_a_right_include_passes(tmp_path, file, line):
    write(tmp_path, {file: line})
    assert check("check-layers", tmp_path) == (0, "")


def test_two_types_of_the_same_name_are_found(tmp_path):
    write(
        tmp_path,
        {
            "Base/A.h": "struct Node {\n};",
            "Platform/Linux/Node.h": "class Node;\nclass Node final {\n};",
            "Platform/Linux/Use.h": "class Node;",
        },
    )
    code, errors = check("check-layers", tmp_path)
    assert code == 1
    assert errors.splitlines() == [
        "Platform/Linux/Node.h:2: error: class Node final {: Base/A.h has a type of that name, too"
    ]


def test_a_path_that_a_document_names_must_exist(tmp_path):
    write(
        tmp_path,
        {
            "Runner/main.cpp": "",
            "docs/guide.md": "See `Runner/main.cpp`,\n`Runner/gone.cpp` and\n[this](absent.png).",
        },
    )
    code, errors = check("check-docs", tmp_path)
    assert code == 1
    assert errors.splitlines() == [
        "docs/guide.md:2: error: no such file: Runner/gone.cpp",
        "docs/guide.md:3: error: no such file: absent.png",
    ]


def test_the_macos_document_must_name_every_operation_of_the_platform(tmp_path):
    write(
        tmp_path,
        {
            "Platform/Script.h": "virtual std::optional<std::string>\nrun(std::function<void(int)> f) = 0;\n"
            "virtual bool isThere() const = 0;\nvirtual ~Script() = default;",
            "docs/macos.md": "| `Script::run` | run: |\n\nisThere is told elsewhere.",
        },
    )
    assert check("check-docs", tmp_path) == (
        1,
        "Platform/Script.h: error: docs/macos.md does not say what isThere is on a Mac\n",
    )


def test_documents_may_name_build_results_and_other_systems_paths(tmp_path):
    write(tmp_path, {"README.md": "`build/release/quoxelin-desktop` `/var/run/quoxelind.socket`"})
    assert check("check-docs", tmp_path) == (0, "")


@pytest.mark.parametrize(
    "line",
    [
        "// TODO: the rest",
        "GTEST_SKIP() << 1;",
        "TEST(A, DISABLED_b)",
        "@pytest.mark.skip",
        "<<<<<<< HEAD",
        "see /home/somebody/notes",
        "curl https://registry.of-packages.io/x",
    ],
)
def test_unfinished_or_machine_specific_text_is_found(tmp_path, line):
    write(tmp_path, {"Base/A.cpp": line})
    code, errors = check("check-text", tmp_path)
    assert code == 1
    assert errors.startswith("Base/A.cpp:1: error: ")


@pytest.mark.parametrize("line", ["http://127.0.0.1:8080/login", "x/home/y", "https://quoxelin.com/"])
def test_ordinary_text_passes(tmp_path, line):
    write(tmp_path, {"Base/A.cpp": line})
    assert check("check-text", tmp_path) == (0, "")


@pytest.mark.parametrize("lambda_", ["[&] {", "[&](auto call) {", "[this, &reply](int) mutable {"])
def test_a_block_that_keeps_references_is_found(tmp_path, lambda_):
    write(tmp_path, {"Platform/A.mm": f"send({lambda_}\n[proxy ping:^(BOOL is) {{ reply(is); }}]; }});"})
    code, errors = check("check-text", tmp_path)
    assert code == 1
    assert errors.startswith("Platform/A.mm:2: error: a block within")


@pytest.mark.parametrize("lambda_", ["[] {", "[=] {", "[reply] {", "[&] {} + ["])
def test_a_block_that_keeps_copies_passes(tmp_path, lambda_):
    write(tmp_path, {"Platform/A.mm": f"send({lambda_}\n[proxy ping:^(BOOL is) {{ reply(is); }}]; }});"})
    assert check("check-text", tmp_path) == (0, "")

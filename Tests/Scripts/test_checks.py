"""The checks in scripts/ find the errors that they look for. Each runs on a small tree."""
import hashlib
import pathlib
import subprocess
import sys

import pytest

SCRIPTS = pathlib.Path(__file__).resolve().parents[2] / "scripts"


def check(name, root, *options):
    done = subprocess.run(
        [sys.executable, SCRIPTS / name, "--root", root, *options], capture_output=True, text=True, timeout=60
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


def test_a_heading_that_a_link_names_must_exist(tmp_path):
    write(
        tmp_path,
        {
            "README.md": "# A title\n[this](#a-title), [that](docs/guide.md#two-words), [no](#two-words)",
            "docs/guide.md": "    # no title\n\n## Two words!\n\n[no](../README.md#no-title)",
        },
    )
    code, errors = check("check-docs", tmp_path)
    assert code == 1
    assert errors.splitlines() == [
        "README.md:2: error: no such heading: #two-words",
        "docs/guide.md:5: error: no such heading: ../README.md#no-title",
    ]


@pytest.mark.parametrize(
    "name, exists",
    [
        ("`TurnsTests: areTaken`", True),
        ("`Tests/Helper/TurnsTests: areTaken`, `comeBack`", True),
        ("`TurnsTests: are...`", True),
        ("`test_box.py: it_starts`", True),
        ("`it_starts_with_no_user`", True),
        ("`some_other_name`", True),
        ("`TurnsTests: areLost`", False),
        ("`OtherTests: areTaken`", False),
        ("`TurnsTests: areTaken`, `areLost`", False),
        ("`test_box.py: it_ends`", False),
        ("`it_starts_with_a_user`", False),
    ],
)
def test_a_test_that_a_document_names_must_exist(tmp_path, name, exists):
    write(
        tmp_path,
        {
            "docs/security.md": f"| attempt | {name} |",
            "Tests/Helper/TurnsTests.cpp": "TEST(Turns, areTaken) {}\nTEST_F(Turns, comeBack) {}",
            "Tests/EndToEnd/test_box.py": "def test_it_starts():\n  pass\ndef test_it_starts_with_no_user():",
        },
    )
    code, errors = check("check-docs", tmp_path)
    assert (code == 0) == exists, errors
    assert exists or "docs/security.md:1: error: no such test: " in errors


def test_every_state_of_the_panel_has_a_picture(tmp_path):
    write(tmp_path, {"Tests/Golden/error.txt": "", "Tests/Golden/more.txt": "",
                     "docs/pictures/states/more.png": ""})
    assert check("check-docs", tmp_path) == (
        1, "Tests/Golden/error.txt: error: no picture: docs/pictures/states/error.png\n")


def test_a_diagram_has_a_current_picture_and_names_folders_that_exist(tmp_path):
    text = 'runner [label="Runner\\nrules"] gone [label="Runner/Gone"] other [label="quoxelind"]\n'
    write(tmp_path, {"docs/boxes.dot": text.rstrip()})
    assert check("check-docs", tmp_path) == (
        1, "docs/boxes.dot: error: its picture is not current; run scripts/draw\n"
        "docs/boxes.dot: error: no such folder: Runner/Gone\n")
    sum_ = hashlib.sha256(text.encode()).hexdigest()
    write(tmp_path, {"docs/boxes.svg": f"<!-- boxes.dot {sum_} -->", "Runner/Gone/a": ""})
    assert check("check-docs", tmp_path) == (0, "")


SOURCES = {
    "Runner/Stores/AppViewState+Accounts.cpp": """
// log("a comment")
void AppViewState::log(const std::string& message) { logger.log("State", message); }
log("plain");
log(fmt::format("failed {} times: "
                "{:.2f}", count, why("no)")));
log(error ? "Cleanup error: " + *error : "Cleanup completed");
logger.log("App", "two (" + a + ") " + b);
""",
    "Platform/Linux/Services/MissingServices.cpp": 'tray{"The tray", "the icon waits"}',
    "Helper/Requests.cpp": 'refuse(request, {failed, "No."}); dependencies.log(who + " ran " + how);',
}


def test_every_line_of_the_log_is_found_in_the_sources(tmp_path):
    write(tmp_path, SOURCES)
    assert check("log-lines", tmp_path) == (0, "")
    page = (tmp_path / "docs/log.md").read_text("utf-8")
    assert [line.split("`")[1] for line in page.splitlines() if line.startswith("| `")] == [
        "The tray is available", "The tray is not available: the icon waits", "two (…) …",
        "Cleanup completed", "Cleanup error: …", "failed … times: …", "plain",
        "refused user … (…): No.… Asked for: …", "… ran …"]


def test_a_line_of_the_log_needs_a_meaning(tmp_path):
    write(tmp_path, {"Runner/A.cpp": 'logger.log("App", "one"); logger.log("App", "two");'})
    assert check("log-lines", tmp_path) == (0, "")
    page = tmp_path / "docs/log.md"
    page.write_text(page.read_text("utf-8").replace("| `one` |  |", "| `one` | The first. |"), "utf-8")
    assert check("log-lines", tmp_path, "--check") == (
        1, "docs/log.md: error: no meaning: `two`\n")
    # Meanings survive a change of the sources.
    write(tmp_path, {"Runner/A.cpp": 'logger.log("App", "one");'})
    assert check("log-lines", tmp_path, "--check")[0] == 1
    assert check("log-lines", tmp_path) == (0, "")
    assert check("log-lines", tmp_path, "--check") == (0, "")


def test_a_line_of_the_log_that_is_made_elsewhere_is_an_error(tmp_path):
    write(tmp_path, {"Runner/A.cpp": 'logger.log("App", text);'})
    code, errors = check("log-lines", tmp_path)
    assert code == 1 and "cannot tell which lines these are: text" in errors


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

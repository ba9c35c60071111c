"""scripts/mutation.py changes programs as it says, and one program contains all changes. scripts/mutants
counts them."""
import importlib.machinery
import importlib.util
import os
import pathlib
import subprocess
import sys

import pytest

SCRIPTS = pathlib.Path(__file__).resolve().parents[2] / "scripts"
sys.path.insert(0, str(SCRIPTS))
import mutation  # noqa: E402

DECLARATIONS = """
bool is(int); int of(int); void first(); void second();
enum class Color { red, green };
struct Text { bool operator==(const char*) const; int length; } text;
template <typename T> T twice(T value) { return value + value; }
"""


def find(tmp_path, code):
    path = tmp_path / "Sample.cpp"
    path.write_text(code)
    return mutation.find(path, "Sample.cpp", code, ["-std=c++20"], 1)


@pytest.mark.parametrize(
    "code, expected",
    [
        ("return a < b;", ["a <= b", "a >= b"]),
        ("return a == b;", ["a != b"]),
        ('return text == "x";', ['text != "x"', '""']),
        ("return is(a) && is(b);", ["true", "true"]),
        ("return is(a) || is(b);", ["false", "false"]),
        ("return is(a);", ["!(is(a))"]),
        ("if (is(a)) return true; return false;", ["!(is(a))", "", "false", "true"]),
        ("if (!is(a)) first(); return a;", ["!(!is(a))", "", "!(a)"]),
        ("if (const auto c = of(a)) first(); return a;", ["false", "", "!(a)"]),
        ("while (is(a)) second(); return a;", ["!(is(a))", "", "!(a)"]),
        ("a += 2; return a;", ["", "a -= 2", "2 + 1", "2 - 1", "!(a)"]),
        ("++a; return a;", ["", "--a", "!(a)"]),
        ("a = b * 0; return a;", ["", "b / 0", "0 + 1", "!(a)"]),
        ("first(); second(); return a;", ["", "", "second(); first();", "!(a)"]),
        ("auto c = 'x'; return c;", ["char('x' + 1)", "!(c)"]),
        ("auto c = Color::green; return c == Color::red;", ["Color::red", "c != Color::red", "Color::green"]),
        ("const char* c = \"x\" \"y\"; return c;", ['""', "!(c)"]),
        ("switch (a) { case 1: first(); break; } return a;", ["", "!(a)"]),
        ("static_assert(1 < 2); return a;", ["!(a)"]),
        ("int c[4] = {}; return c;", ["!(c)"]),
    ],
)
def test_a_statement_has_these_mutants(tmp_path, code, expected):
    code = DECLARATIONS + "bool sample(int a, int b) {" + code + "}"
    found = [each for each in find(tmp_path, code) if each.line > DECLARATIONS.count("\n")]
    assert sorted(each.mutated for each in found) == sorted(expected)


def test_a_mutant_says_where_it_is(tmp_path):
    (mutant,) = find(tmp_path, "int of(int);\n\nint sample(int a) {\n    return\n        of(a);\n}\n")
    assert (mutant.file, mutant.line, mutant.operator) == ("Sample.cpp", 4, "returned")
    assert (mutant.original, mutant.mutated) == ("return of(a);", "return {};")


PROGRAM = """
#include <cstdio>
constexpr int base = 10;
constexpr int doubled(int value) { return value * 2; }
static_assert(doubled(4) == 8);
void put(const char* text) { std::printf("%s ", text); }
int main(int count, char**) {
    put("a"); // first
    put("b");
    if (count > 1 || base < 10)
        put("c");
    else
        put("d");
    std::printf("%d %d", base, doubled(base - count));
}
"""


@pytest.fixture(scope="module")
def program(tmp_path_factory):
    folder = tmp_path_factory.mktemp("program")
    mutants = find(folder, PROGRAM)
    text, _ = mutation.rewrite(PROGRAM, mutants)
    (folder / "Prelude.h").write_text(mutation.PRELUDE)
    (folder / "Rewritten.cpp").write_text(text)
    subprocess.run(["g++", "-std=c++20", "-include", "Prelude.h", "-o", "program", "Rewritten.cpp"],
                   cwd=folder, check=True, timeout=60)

    def run(original="", mutated="", **environment):
        number = [each.number for each in mutants if (each.original, each.mutated) == (original, mutated)]
        chosen = {"MUTANT": str(number[0])} if original else {}
        return subprocess.run([folder / "program"], env={**os.environ, **chosen, **environment}, check=True,
                              capture_output=True, text=True, timeout=60).stdout, number

    return run


def test_the_program_is_as_before_without_a_mutant(program):
    assert program()[0] == "a b d 10 18"


@pytest.mark.parametrize(
    "original, mutated, output",
    [
        ('put("a");', "", "b d 10 18"),
        ('put("b");', "", "a d 10 18"),
        ('put("d");', "", "a b 10 18"),
        ('put("a"); // first put("b");', 'put("b"); put("a");', "b a d 10 18"),
        ('"b"', '""', "a  d 10 18"),
        ("count > 1", "count >= 1", "a b c 10 18"),
        ("base < 10", "base <= 10", "a b c 10 18"),
        ("10", "10 + 1", "a b d 11 20"),
        ("value * 2", "value / 2", "a b d 10 4"),
        ("base - count", "base + count", "a b d 10 22"),
    ],
)
def test_the_program_becomes_the_mutant(program, original, mutated, output):
    assert program(original, mutated)[0] == output


def test_the_program_notes_the_mutants_that_it_comes_to(program, tmp_path):
    path = tmp_path / "reached"
    path.write_bytes(bytes(1 << 20))
    _, (dropped,) = program('put("d");', MUTANTS_REACHED=str(path))
    _, (not_reached,) = program('put("c");', MUTANTS_REACHED=str(path))
    reached = path.read_bytes()
    assert (reached[dropped], reached[not_reached]) == (1, 0)


def test_areas_name_the_mutants_of_each_place(tmp_path):
    mutants = find(tmp_path, "bool sample(int a) { return a < 5; }")
    text, areas = mutation.rewrite("bool sample(int a) { return a < 5; }", mutants)
    for mutant in mutants:
        assert any(f"({mutant.number})" in text[start:end] for start, end, owners in areas if mutant in owners)
    smallest = min((area for area in areas if text[area[0] : area[1]].count("5 + 1")), key=lambda area: area[1] - area[0])
    assert [each.mutated for each in smallest[2]] == ["5 + 1"]


@pytest.mark.parametrize("arguments", [["--unknown"], ["no/such/File.cpp"], ["--jobs", "many"], ["docs"]])
def test_wrong_arguments_are_refused(arguments):
    done = subprocess.run([SCRIPTS / "mutants", *arguments], capture_output=True, text=True, timeout=60)
    assert done.returncode == 2
    assert "scripts/mutants" in done.stderr


@pytest.fixture
def mutants():
    loader = importlib.machinery.SourceFileLoader("mutants", str(SCRIPTS / "mutants"))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("mutants", loader))
    loader.exec_module(module)
    return module


def outcome(outcome, mutated, original="a < b", operator="comparison"):
    return {"file": "Folder/A.cpp", "line": 3, "outcome": outcome, "operator": operator, "original": original,
            "mutated": mutated}


def test_mutants_that_are_equivalent_are_not_counted(mutants, capsys):
    entries = [outcome("killed", "a <= b"), outcome("survived", "a >= b"), outcome("survived", "", "f(a, b);", "dropped"),
               outcome("unreached", "true", "b", "logical")]
    listed = ["# what it is", "A reason", "    Folder/A.cpp: comparison: a < b -> a >= b",
              "    Folder/A.cpp: dropped: f(...); ->", "    Folder/B.cpp: logical: b -> true", ""]
    mutants.report(entries, mutants.equivalents(listed))
    survivor, _, folder = capsys.readouterr().out.splitlines()
    assert survivor == "Folder/A.cpp:3: unreached: logical: b -> true"
    assert folder.split() == ["Folder", "4", "1", "0", "1", "2", "50.0%"]


def test_a_survivor_can_be_listed_as_it_is_printed(mutants, capsys):
    entry = outcome("survived", "x" * 200, "y" * 200)
    mutants.report([entry])
    printed = capsys.readouterr().out.splitlines()[0].replace(":3: survived", "")
    mutants.report([entry], mutants.equivalents(["  " + printed]))
    assert "survived:" not in capsys.readouterr().out


def test_an_equivalent_mutant_that_is_no_more_is_named(mutants, capsys):
    listed = ["  Folder/A.cpp: comparison: a < c -> a >= c", "  Folder/B.cpp: comparison: a < c -> a >= c"]
    mutants.report([outcome("killed", "a >= b")], mutants.equivalents(listed))
    assert capsys.readouterr().out.splitlines()[0] == (
        "equivalent-mutants: none survives: Folder/A.cpp: comparison: a < c -> a >= c")


def test_the_list_of_equivalent_mutants_gives_a_reason_for_each(mutants):
    has_reason = False
    for line in mutants.EQUIVALENT.read_text().splitlines():
        is_mutant = line[:1].isspace()
        assert has_reason or not is_mutant, line
        assert not is_mutant or (SCRIPTS.parent / line.split(":")[0].strip()).is_file(), line
        has_reason = is_mutant or line[:1] not in ("", "#")

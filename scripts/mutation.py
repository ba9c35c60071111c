"""Rewrites a C++ file so that it contains all its mutants, one of which is chosen at run time.

A mutant is a small change that a test should notice. Each one wraps a part of the file's text: the
text `a < b` becomes `(isMutant(7) ? (a <= b) : (a < b))`. `isMutant` is in PRELUDE, which every file
of the build includes. Parts in other parts nest, because the changed text is always the original one.
"""
import dataclasses
import re

import clang.cindex
from clang.cindex import CursorKind as Kind

# The chosen mutant is in $MUTANT. For each mutant that the program comes to, one byte is set in the
# file $MUTANTS_REACHED. Constant expressions contain no mutants.
PRELUDE = """#pragma once
#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
inline bool isMutant(int number) noexcept {
    static const int chosen = std::getenv("MUTANT") ? std::atoi(std::getenv("MUTANT")) : 0;
    static char* const reached = [] {
        const char* const path = std::getenv("MUTANTS_REACHED");
        const int file = path ? ::open(path, O_RDWR | O_CLOEXEC) : -1;
        return file < 0 ? nullptr : static_cast<char*>(
            ::mmap(nullptr, 1 << 20, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0));
    }();
    if (reached)
        reached[number] = 1;
    return number == chosen;
}
constexpr bool isConstantMutant(int number) noexcept {
    return __builtin_is_constant_evaluated() ? false : isMutant(number);
}
"""

COMPARED = {"<": ("<=", ">="), "<=": ("<", ">"), ">": (">=", "<="), ">=": (">", "<"),
            "==": ("!=",), "!=": ("==",)}
CALCULATED = {
    old: (new,) for old, new in zip(
        "+ - * / % & | ^ << >> += -= *= /= %= &= |= ^= <<= >>=".split(),
        "- + / * * | & & >> << -= += /= *= *= |= &= &= >>= <<=".split())
}
LOGICAL = {"&&": ("true", "({} || ("), "||": ("false", "(!{} && (")}
INTEGER = re.compile(r"(0[xX][\da-fA-F']+|[\d']+)[uUlLzZ]*")
NUMBER_WITH_UNIT = re.compile(r"[\d'.]+([a-z]+)")
TEXT = re.compile(r'(?:L|u8?|U)?R?"(.*)"(s|sv)?', re.S)
EMPTY = re.compile(r'return\s*(\{\}|std::nullopt|nullptr|false|0|""|)\s*')
FUNCTIONS = (Kind.FUNCTION_DECL, Kind.CXX_METHOD, Kind.CONSTRUCTOR, Kind.DESTRUCTOR, Kind.FUNCTION_TEMPLATE,
             Kind.CONVERSION_FUNCTION)
CLASSES = (Kind.CLASS_DECL, Kind.STRUCT_DECL, Kind.CLASS_TEMPLATE, Kind.CLASS_TEMPLATE_PARTIAL_SPECIALIZATION)
LITERALS = (Kind.INTEGER_LITERAL, Kind.FLOATING_LITERAL, Kind.CHARACTER_LITERAL, Kind.CXX_BOOL_LITERAL_EXPR)
LEAVES = (Kind.RETURN_STMT, Kind.BREAK_STMT, Kind.CONTINUE_STMT)


@dataclasses.dataclass
class Mutant:
    number: int
    file: str
    line: int
    operator: str
    original: str
    mutated: str
    wraps: list  # (start, end, text before, text after)
    key: str  # the same in every run


def bare(cursor):
    """The expression without what the compiler adds to it, and without parentheses."""
    while cursor.kind in (Kind.UNEXPOSED_EXPR, Kind.PAREN_EXPR):
        children = list(cursor.get_children())
        if len(children) != 1:
            break
        cursor = children[0]
    return cursor


class Finder:
    """Finds the mutants of one file, numbered from `first`."""

    def __init__(self, name, text, first):
        self.name, self.text, self.first = name, text, first
        self.mutants = []
        self.known = set()
        self.call = "isMutant"
        self.constant = None  # the constexpr variable around, if any

    def span(self, cursor):
        return cursor.extent.start.offset, cursor.extent.end.offset

    def source(self, cursor):
        start, end = self.span(cursor)
        return self.text[start:end]

    def add(self, operator, place, mutated, wrap):
        """`wrap` gets the condition that is true in the mutant, and gives the wraps."""
        start, end = place
        original = self.text[start:end]
        if (place, operator, mutated) in self.known or not original:
            return
        self.known.add((place, operator, mutated))
        number = self.first + len(self.mutants)
        wraps = wrap(f"{self.call}({number})")
        if self.constant:
            start_of_constant, end_of_constant, keyword, word = self.constant
            wraps += [(keyword, keyword + len("constexpr"), f"{word} /*", "*/"),
                      (start_of_constant, end_of_constant, "", "")]
        self.mutants.append(Mutant(number, self.name, self.text.count("\n", 0, start) + 1, operator,
                                   " ".join(original.split()), " ".join(mutated.split()), wraps,
                                   f"{self.name}:{start}:{operator}:{original} -> {mutated}"))

    def replace(self, operator, cursor, mutated):
        start, end = self.span(cursor)
        self.add(operator, (start, end), mutated,
                 lambda chosen: [(start, end, f"({chosen} ? ({mutated}) : (", "))")])

    def negate(self, cursor):
        start, end = self.span(cursor)
        self.add("negation", (start, end), f"!({self.text[start:end]})",
                 lambda chosen: [(start, end, f"({chosen} != static_cast<bool>(", "))")])

    def negate_unless_done(self, cursor):
        """Negates a condition that has no mutants by itself."""
        inner = bare(cursor)
        if inner.kind == Kind.CXX_BOOL_LITERAL_EXPR or self.source(inner).startswith("!"):
            return
        if self.operator_of(inner)[0] not in (*COMPARED, *LOGICAL):
            self.negate(cursor)

    def operator_of(self, cursor):
        """The operator between the operands of an expression, and where it starts and ends."""
        children = list(cursor.get_children())
        is_call = cursor.kind == Kind.CALL_EXPR and len(children) == 3 and cursor.spelling.startswith("operator")
        if is_call or cursor.kind in (Kind.BINARY_OPERATOR, Kind.COMPOUND_ASSIGNMENT_OPERATOR):
            start, end = self.span(children[0])[1], self.span(children[-1])[0]
            between = self.text[start:end]
            operator = between.strip()
            if operator:
                start += between.index(operator)
                return operator, start, start + len(operator)
        return "", 0, 0

    def statement(self, cursor):
        """Where an expression statement starts and ends, or None."""
        start, end = self.span(cursor)
        ending = re.compile(r"\s*;").match(self.text, end)
        is_one = cursor.kind.is_expression() or cursor.kind in (*LEAVES, Kind.BINARY_OPERATOR)
        return (start, ending.end()) if is_one and ending and end > start else None

    def drop(self, cursor):
        place = self.statement(cursor)
        if place:
            self.add("dropped", place, "",
                     lambda chosen: [(*place, "{ if (!" + chosen + ") ", " }")])

    def swap(self, one, other):
        first, second = self.statement(one), self.statement(other)
        are_calls = all(bare(cursor).kind == Kind.CALL_EXPR for cursor in (one, other))
        if first and second and are_calls and self.source(one) != self.source(other):
            later = self.text[slice(*second)]
            self.add("swapped", (first[0], second[1]), f"{later} {self.text[slice(*first)]}",
                     lambda chosen: [(*first, "{ if (" + chosen + ") { " + later + " } ", " }"),
                                     (*second, "{ if (!" + chosen + ") ", " }")])

    def body(self, statements, may_leave=False):
        """Statements that run one after the other; after the last one of a branch others follow."""
        for index, one in enumerate(statements):
            if one.kind not in LEAVES or (may_leave and index == len(statements) - 1):
                self.drop(one)
            if index + 1 < len(statements):
                self.swap(one, statements[index + 1])

    def branch(self, cursor, may_leave=False):
        if cursor.kind == Kind.COMPOUND_STMT:
            self.body(list(cursor.get_children()), may_leave)
        else:
            self.body([cursor], may_leave)

    def condition(self, cursor, children):
        if cursor.kind == Kind.IF_STMT:
            if re.match(r"if\s+constexpr", self.source(cursor)):
                return
            if children[0].kind == Kind.VAR_DECL:
                start, end = self.span(children[0])
                self.add("negation", (start, end), "false", lambda chosen: [
                    (start, end, "", f"; static_cast<bool>({children[0].spelling}) && !{chosen}")])
            has_declaration = children[0].kind in (Kind.VAR_DECL, Kind.DECL_STMT)
            rest = children[1:] if has_declaration else children
            if children[0].kind != Kind.VAR_DECL:
                self.negate_unless_done(rest[0])
            self.branch(rest[1], may_leave=len(rest) == 2)
            if len(rest) == 3:
                self.branch(rest[2])
        elif cursor.kind == Kind.WHILE_STMT:
            self.negate_unless_done(children[0])
            self.branch(children[-1])
        elif cursor.kind == Kind.DO_STMT:
            self.negate_unless_done(children[-1])
            self.branch(children[0])
        elif cursor.kind == Kind.CONDITIONAL_OPERATOR:
            self.negate_unless_done(children[0])
        elif cursor.kind in (Kind.FOR_STMT, Kind.CXX_FOR_RANGE_STMT, Kind.CASE_STMT, Kind.DEFAULT_STMT):
            self.branch(children[-1])

    def returned(self, cursor, children):
        place = self.statement(cursor)
        if not place or not children or EMPTY.fullmatch(self.source(cursor)) or bare(children[0]).kind in LITERALS:
            return
        if children[0].type.get_canonical().kind == clang.cindex.TypeKind.BOOL:
            self.negate_unless_done(children[0])
        else:
            self.add("returned", place, "return {};",
                     lambda chosen: [(*place, "{ if (" + chosen + ") return {}; ", " }")])

    def expression(self, cursor, children):
        operator, start, end = self.operator_of(cursor)
        whole_start, whole_end = self.span(cursor)
        kind = "comparison" if operator in COMPARED else "arithmetic"
        for other in (COMPARED | CALCULATED).get(operator, ()):
            self.replace(kind, cursor, self.text[whole_start:start] + other + self.text[end:whole_end])
        if operator in LOGICAL:
            value, before = LOGICAL[operator]
            for operand in (children[0], children[-1]):
                if self.operator_of(bare(operand))[0] != operator:
                    place = self.span(operand)
                    self.add("logical", place, value,
                             lambda chosen: [(*place, before.format(chosen), "))")])
        if cursor.kind == Kind.UNARY_OPERATOR:
            text = self.source(cursor)
            if text.startswith("!"):
                self.negate(cursor)
            elif text.startswith("-") and not text.startswith("--"):
                self.replace("arithmetic", cursor, text[1:])
            for sign, other in (("++", "--"), ("--", "++")):
                if sign in (text[:2], text[-2:]):
                    self.replace("arithmetic", cursor, text.replace(sign, other))

    def literal(self, cursor):
        """Whether this is a constant, which then has its mutants."""
        text = self.source(cursor)
        unit = NUMBER_WITH_UNIT.fullmatch(text)
        string = TEXT.fullmatch(text)
        if cursor.kind == Kind.CALL_EXPR and unit:
            self.replace("constant", cursor, f"{text} + 1{unit[1]}")
        elif cursor.kind in (Kind.CALL_EXPR, Kind.STRING_LITERAL) and string:
            self.replace("constant", cursor, ('""' if string[1] else '"?"') + (string[2] or ""))
        elif (cursor.kind == Kind.INTEGER_LITERAL and INTEGER.fullmatch(text)
              or cursor.kind == Kind.FLOATING_LITERAL):
            self.replace("constant", cursor, f"{text} + 1")
            if text.strip("0.") != "":
                self.replace("constant", cursor, f"{text} - 1")
        elif cursor.kind == Kind.CHARACTER_LITERAL and text.startswith("'"):
            self.replace("constant", cursor, f"char({text} + 1)")
        elif cursor.kind == Kind.CXX_BOOL_LITERAL_EXPR and text in ("true", "false"):
            self.replace("constant", cursor, "false" if text == "true" else "true")
        elif cursor.kind == Kind.DECL_REF_EXPR and cursor.referenced is not None:
            of = cursor.referenced
            if of.kind == Kind.ENUM_CONSTANT_DECL and of.semantic_parent.is_scoped_enum():
                names = [each.spelling for each in of.semantic_parent.get_children()]
                other = names[(names.index(of.spelling) + 1) % len(names)]
                self.replace("constant", cursor, re.sub(r"\w+$", other, text))
        else:
            return False
        return True

    def visit(self, cursor):
        if cursor.kind in (Kind.STATIC_ASSERT, Kind.ENUM_CONSTANT_DECL):
            return
        if self.literal(cursor):
            return
        children = [each for each in cursor.get_children() if each.extent.end.offset > 0]
        before = self.call, self.constant
        start, end = self.span(cursor)
        if cursor.kind in FUNCTIONS and children:
            head = self.text[start:self.span(children[-1])[0]]
            self.call = "isConstantMutant" if re.search(r"\bconst(expr|eval)\b", head) else "isMutant"
        elif cursor.kind in (Kind.VAR_DECL, Kind.FIELD_DECL) and self.source(cursor):
            keyword = re.match(r"(?:static |inline )*(constexpr)\b", self.source(cursor))
            if keyword:
                in_class = cursor.semantic_parent.kind in CLASSES
                self.constant = start, end, start + keyword.start(1), "inline const" if in_class else "const"
            # The size of an array is none of its values.
            children = [each for each in children if self.text[: self.span(each)[0]].rstrip()[-1:] != "["]
        elif cursor.kind == Kind.CASE_STMT:
            self.condition(cursor, children)
            children = children[1:]
        elif cursor.kind == Kind.RETURN_STMT:
            self.returned(cursor, children)
        elif cursor.kind == Kind.COMPOUND_STMT:
            self.body(children)
        elif children:
            self.condition(cursor, children)
            self.expression(cursor, children)
        for child in children:
            self.visit(child)
        self.call, self.constant = before


def find(path, name, text, arguments, first):
    """The mutants of a file, which is called `name` in reports. Its text has one character for each byte.
    `arguments` are the compiler's; the mutants' numbers begin with `first`."""
    unit = clang.cindex.Index.create().parse(str(path), args=arguments)
    errors = [str(each) for each in unit.diagnostics if each.severity >= clang.cindex.Diagnostic.Error]
    if errors:
        raise SystemExit("\n".join(errors))
    finder = Finder(name, text, first)
    for cursor in unit.cursor.get_children():
        if cursor.location.file and cursor.location.file.name == str(path):
            finder.visit(cursor)
    return finder.mutants


def rewrite(text, mutants):
    """The text with these mutants, and the areas that belong to them: (start, end, mutants)."""
    wraps = {}
    for mutant in mutants:
        for wrap in mutant.wraps:
            wraps.setdefault(wrap, []).append(mutant)
    parts, areas, around = [], [], []
    place = length = 0

    def put(part):
        nonlocal length
        parts.append(part)
        length += len(part)

    def go_on(until):
        nonlocal place
        while around and around[-1][0][1] <= until:
            (_, end, _, after), began = around.pop()
            put(text[place:end] + after)
            place = end
            areas.append((began[0], length, began[1]))
        put(text[place:until])
        place = until

    for wrap, owners in sorted(wraps.items(), key=lambda each: (each[0][0], -each[0][1])):
        go_on(wrap[0])
        around.append((wrap, (length, owners)))
        put(wrap[2])
    go_on(len(text))
    return "".join(parts), areas

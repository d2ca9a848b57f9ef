"""Small changes of C++ sources, each of which a test should notice.

Relies on how clang-format writes the sources: an operator with spaces on both sides
takes two operands, and is no bracket of a template and no reference."""

import dataclasses
import hashlib
import re

NOT_CODE = re.compile(
    r"""//[^\n]* | /\*.*?\*/
    | R"(?P<mark>[^(\s]*)\(.*?\)(?P=mark)"
    | "(?:\\.|[^"\\\n])*" | (?<![0-9a-fA-F])'(?:\\.|[^'\\\n])+'
    | ^[ \t]*\#(?:\\\n|[^\n])*
    | \b(?:Q_ASSERT\w*|static_assert|Q_UNUSED|qDebug|qInfo|qWarning|qCritical)\b [^;\n]*""",
    re.VERBOSE | re.DOTALL | re.MULTILINE,
)

SWAPPED = {
    "comparison": (
        r"(?<=\s)(?:[<>=!]=|[<>])(?=\s)",
        {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="},
    ),
    "arithmetic": (
        r"(?<=\s)[+-]=?(?=\s)|\+\+|--",
        {"+": "-", "-": "+", "+=": "-=", "-=": "+=", "++": "--", "--": "++"},
    ),
    "logic": (r"(?<=\s)(?:&&|\|\|)(?=\s)", {"&&": "||", "||": "&&"}),
    "truth": (r"\b(?:true|false)\b", {"true": "false", "false": "true"}),
    "extreme": (
        r"\b(?:std::(?:min|max)|qMin|qMax)\b",
        {"std::min": "std::max", "std::max": "std::min", "qMin": "qMax", "qMax": "qMin"},
    ),
}
INTEGER = re.compile(r"(?<![\w.])(0[xXbB])?([0-9a-fA-F]+)(?=[uUlL]*\b)(?!\.)")
CONDITION = re.compile(r"\b(?:if|while) \(")
# A call or an assignment that is a whole statement: a declaration has a space before its name.
STATEMENT = re.compile(
    r"(?<=[;{}\n])(?P<indent>[ \t]+)(?!return\b|delete\b|case\b|using\b|throw\b)"
    r"(?P<target>(?:\+\+|--|\*)?[A-Za-z_][\w:]*(?:<[\w:]+>)?(?:(?:\.|->)\w+|\[[^\]\n;]*\]|\([^;{}()]*\))*)"
    r"(?P<rest>\(| (?:=|[-+*/|&^%]=) )"
)
AFTER_CALL = re.compile(r"\s*(?:;|\.|->|\(|=)")


@dataclasses.dataclass(frozen=True)
class Change:
    """Replaces the characters from \a start to \a end of a file."""

    kind: str
    start: int
    end: int
    text: str

    def applied(self, source):
        return source[: self.start] + self.text + source[self.end :]


def without_text(source):
    """The source with spaces for comments, literals, directives and assertions."""
    return NOT_CODE.sub(lambda match: re.sub(r"[^\n]", " ", match.group()), source)


def closing(code, opening):
    """The index of the bracket that closes the one at \a opening, or -1."""
    depth = 0
    for at in range(opening, len(code)):
        depth += (code[at] in "([{") - (code[at] in ")]}")
        if depth == 0:
            return at
    return -1


def swapped_words(code):
    for kind, (pattern, other) in SWAPPED.items():
        for match in re.finditer(pattern, code):
            yield Change(kind, match.start(), match.end(), other[match.group()])


def shifted_integers(code):
    for match in INTEGER.finditer(code):
        prefix, digits = match.group(1) or "", match.group(2)
        if not prefix and not digits.isdigit():
            continue
        base = {"": 10, "0x": 16, "0b": 2}[prefix.lower()]
        write = {10: str, 16: hex, 2: bin}[base]
        value = int(digits, base)
        shifted = value + (1 if value == 0 or match.start() % 2 else -1)
        yield Change("integer", match.start(), match.end(), write(shifted))


def negated_conditions(source, code):
    for match in CONDITION.finditer(code):
        start = match.end()
        end = closing(code, start - 1)
        if end > 0 and ";" not in code[start:end]:
            yield Change("negation", start, end, f"!({source[start:end]})")


def end_of_statement(code, start):
    """The index after the semicolon that ends the statement at \a start, or -1."""
    depth = 0
    for at in range(start, len(code)):
        depth += (code[at] in "([{") - (code[at] in ")]}")
        if depth < 0:
            return -1
        if depth == 0 and code[at] == ";":
            return at + 1
    return -1


def removed_statements(source, code):
    for match in STATEMENT.finditer(code):
        start = match.start("target")
        if match.group("rest") == "(":
            end = closing(code, match.end() - 1)
            if end < 0 or not AFTER_CALL.match(code, end + 1):
                continue # the head of a constructor
        end = end_of_statement(code, start)
        if end > 0:
            yield Change("removal", start, end, ";" + "\n" * source[start:end].count("\n"))


def changes_of(source):
    """All changes of a source, in its order."""
    code = without_text(source)
    found = [
        *swapped_words(code),
        *shifted_integers(code),
        *negated_conditions(source, code),
        *removed_statements(source, code),
    ]
    return sorted(found, key=lambda change: (change.start, change.end, change.text))


def line_of(source, at):
    return source.count("\n", 0, at) + 1


def rank(seed, file, source, change):
    """A number that the seed gives a change, wherever its line has moved to."""
    start = source.rfind("\n", 0, change.start) + 1
    end = source.find("\n", change.start)
    words = (seed, file, source[start : end if end >= 0 else None], change.start - start, change.kind, change.text)
    return hashlib.sha256(repr(words).encode()).digest()


def one_change_a_line(seed, file, source):
    """The changes of a source in an order that the seed gives, each in a line of its own:
    (rank, change)."""
    ranked = sorted(((rank(seed, file, source, change), change) for change in changes_of(source)), key=lambda e: e[0])
    lines = set()
    for entry in ranked:
        line = line_of(source, entry[1].start)
        if line not in lines:
            lines.add(line)
            yield entry


def shares(weights, count):
    """Divides \a count in proportion to \a weights, by the largest remainders."""
    total = sum(weights.values())
    exact = {name: count * weight / total for name, weight in weights.items()}
    given = {name: int(share) for name, share in exact.items()}
    by_remainder = sorted(exact, key=lambda name: (given[name] - exact[name], name))
    for name in by_remainder[: count - sum(given.values())]:
        given[name] += 1
    return given


def drawn(sources, seed, count):
    """All (file, change) in the order in which to try them: any beginning holds each
    folder in proportion to its lines, and the first \a count its share of \a count.

    A change of a source leaves the order of the others as it is. \a sources are
    {folder: {file: text}}."""
    weights = {folder: sum(text.count("\n") for text in files.values()) for folder, files in sources.items()}
    quotas = shares(weights, count)
    order = []
    for folder in sorted(sources):
        changes = [
            (number, file, change)
            for file, text in sorted(sources[folder].items())
            for number, change in one_change_a_line(seed, file, text)
        ]
        changes.sort(key=lambda entry: entry[0])
        order += [
            ((index + 0.5) / quotas[folder], folder, file, change)
            for index, (_, file, change) in enumerate(changes)
            if quotas[folder]
        ]
    order.sort(key=lambda entry: entry[:2])
    return [(file, change) for _, _, file, change in order]

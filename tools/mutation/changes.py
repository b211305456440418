"""What a mutant is: one token of a source changed, a call taken out, one that adds something made twice, two statements
swapped, or an early return."""
import hashlib
import itertools
import json
import re
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent.parent

# Where the names of a Mac's constants stand: a mutant takes another of the same family.
CONSTANT = re.compile(r"(?<![\w\"])(?:k[A-Z]\w{3,}|[A-Z][A-Z0-9]+_[A-Z0-9_]+)\b(?!\()")
DECLARED = "".join(header.read_text() for header in sorted((TOP / "tests/macbox/include").rglob("*.h")))
NAMES = sorted(set(CONSTANT.findall(DECLARED)))
VALUES = dict(re.findall(r"\b(\w+) = ([\w<]+)", DECLARED))

# File, what is changed, and the line: each has its reason.
EQUIVALENT = {tuple(line.split("\t")[:3]) for line in (TOP / "tools/equivalent-mutants").read_text().splitlines()
              if line and not line.startswith("#")}

# A letter between single quotes is passed over, and may be a quote itself.
STRING = re.compile(r"""'(?:[^'\\]|\\.)'|"((?:[^"\\]|\\.)*)\"""")
ELEMENT = re.compile(r">([^<>]+)</")
LAST_LETTER = re.compile(r"\\?.$")
CALL = re.compile(r"^\s+(?!return\b|delete\b|throw\b)[\w:.>\-\[\]*()]*\w\(.*\);\s*$")
# What adds, says, sends or starts something: most other calls may be made as often as one likes.
ADDING_CALL = re.compile(r"^\s+(?:[\w:]+(?:\.|->|::))*(?:append|push_back|emplace_back|add\w*|insert\w*|WriteLog|systemLog|logLine|write|"
                         r"printf|fprintf|puts|print|phase|line|answer|start\w*|inBackground|onMainThread\w*|postNotification|send\w*|"
                         r"xpcConnection|remove_prefix|u8|u16|u32)\(")
STATEMENT = re.compile(r"^(\s+)(?!const\b|auto\b|static\b|case\b|using\b)[\w:.>\-*]+(?:\(| [-+*/|&]?= ).*;\s*$")
CONDITION = re.compile(r"^(\s*(?:\} else )?(?:if|while) \()(.+)(\) \{)$")
NUMBER = re.compile(r"(?<![\w.\"'])(\d(?:'?\d)*)(\.\d+)?(?![\w.]|'\d)")
TIME = re.compile(r"(?<![\w.])(\d+)(?=(?:ms|s|min|h)\b)")
# What a token becomes.
TOKENS = [(re.compile(pattern), changed) for pattern, changed in (
    (r" == ", " != "), (r" != ", " == "), (r" < ", " <= "), (r" <= ", " < "), (r" > ", " >= "), (r" >= ", " > "),
    (r" && ", " || "), (r" \|\| ", " && "), (r"(?<=[ (])!(?=[\w(])", ""), (r"\btrue\b", "false"), (r"\bfalse\b", "true"),
    (r" \+ ", " - "), (r" - ", " + "), (r" \+= ", " -= "), (r" -= ", " += "), (r"\+\+", "--"), (r"--(?=\w)", "++"),
    (r" \| ", " & "), (r" & ", " | "), (r"\bbreak;", ";"), (r"\bcontinue;", "break;"), (r"\breturn;", ";"),
    (r"\bnullptr\b(?=\))", "reinterpret_cast<void *>(1)"), (r"\bstd::min\b", "std::max"), (r"\bstd::max\b", "std::min"),
    (r"\bonMainThread\b", "inBackground"), (r"\bonMainThreadAndWait\b", "onMainThread"), (r"\bfront\(\)", "back()"),
    (r"\bback\(\)", "front()"), (r"\bstartsWith\b", "endsWith"), (r"\bstarts_with\b", "ends_with"),
)]


def code_of(line):
    """The line without its comment."""
    return re.sub(r"\s*//.*$", "", line)


def is_code(line):
    text = line.strip()
    return text and not text.startswith(("//", "#", "* ", "*/", "static_assert", "using ", "namespace ", "include"))


def is_outside_strings(line, at):
    return line[:at].count('"') % 2 == 0


def relative_of(name):
    """Another name of the same family: the one that begins alike for longest; none when the name is not the system's."""
    def alike(other):
        return next((at for at, (one, two) in enumerate(zip(name, other)) if one != two), min(len(name), len(other)))

    same = VALUES.get(name, name)
    others = [other for other in NAMES if VALUES.get(other, other) != same and alike(other) > 3] if name in NAMES else []
    return max(others, key=alike, default=None)


def other_number(digits):
    """One more; of a large one that would be no change, so none at all."""
    value = int(digits.replace("'", ""))
    return str(value + 1 if value < 10 else 0)


def changes_of_tokens(line, is_xml):
    """What was done to one token, and the line with it."""
    for pattern, changed in TOKENS:
        for match in filter(lambda match: is_outside_strings(line, match.start()), pattern.finditer(line)):
            yield f"{match[0].strip()} -> {changed.strip()}", line[:match.start()] + changed + line[match.end():]
    for pattern in (NUMBER, TIME):
        for match in filter(lambda match: is_outside_strings(line, match.start()), pattern.finditer(line)):
            other = other_number(match[1])
            yield f"{match[0]} -> {other}{match[0][len(match[1]):]}", line[:match.start(1)] + other + line[match.end(1):]
    for match in filter(lambda match: match[1], itertools.chain(STRING.finditer(line), ELEMENT.finditer(line) if is_xml else ())):
        last = "x" if match[1][-1] != "x" else "y"
        yield f"{match[1]} -> ...{last}", line[:match.start(1)] + LAST_LETTER.sub(last, match[1]) + line[match.end(1):]
    for match in CONSTANT.finditer(line):
        if relative := relative_of(match[0]):
            yield f"{match[0]} -> {relative}", line[:match.start()] + relative + line[match.end():]


def changes_of_line(lines, number, is_xml=False):
    """Every way to change this line: what was done, the lines in its place, and of how many."""
    line = code_of(lines[number])
    for what, changed in changes_of_tokens(line, is_xml):
        yield what, [changed], 1
    if (condition := CONDITION.match(line)) and " = " not in line and ";" not in line:
        yield "the contrary", [f"{condition[1]}!({condition[2]}){condition[3]}"], 1
    if CALL.match(line) and line.count("(") == line.count(")"):
        yield "taken out", [""], 1
        if ADDING_CALL.match(line):
            yield "done twice", [line, line], 1
    if STATEMENT.match(line):
        yield "returns before it", [re.match(r"\s*", line)[0] + "return;", line], 1
    following = code_of(lines[number + 1]) if number + 1 < len(lines) else ""
    if STATEMENT.match(line) and STATEMENT.match(following):
        yield "swapped with the next", [following, line], 2


def mutants_of(room, top=TOP):
    """All of a folder's, but for what changes nothing that anybody could see."""
    for path in sorted(path for ending in ("*.cpp", "*.h", "*.in", "*.cmake") for path in (top / room).glob(ending)):
        lines = path.read_text().split("\n")
        for number in filter(lambda number: is_code(lines[number]), range(len(lines))):
            for what, changed, replaced in changes_of_line(lines, number, path.suffix == ".in"):
                mutant = {"file": str(path.relative_to(top)), "line": number + 1, "what": what, "before": lines[number].strip(),
                          "changed": changed, "lines": replaced, "room": room}
                if (mutant["file"], what, mutant["before"]) not in EQUIVALENT:
                    yield mutant


def key_of(mutant):
    text = json.dumps([mutant["file"], mutant["before"], mutant["line"], mutant["what"], mutant["changed"]])
    return hashlib.sha1(text.encode()).hexdigest()[:16]

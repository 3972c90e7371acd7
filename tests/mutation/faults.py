"""The faults that can be put into a source: five operators, each on the text of its lines.

A fault replaces a piece of one file by another with as many line ends, so that the numbers of all
other lines stay. Lines are read as clang-format leaves them: a binary operator stands between
spaces, and a template's bracket does not.
"""

import random
import re
from typing import NamedTuple

CPP_CONTROL = {"if", "for", "while", "switch", "catch", "sizeof", "alignof", "decltype", "noexcept", "return"}
CPP_NO_STATEMENT = re.compile(r"(for|while|switch|do|else|case|default|try|catch|using|typedef|public|private)\b")
CPP_LEAVES = re.compile(r"(return|throw|break|continue|goto|if)\b")
# Neither dropped nor moved would it compile, as what it declares is used.
CPP_DECLARATION = re.compile(
    r"(?:const|constexpr|auto|static)\b|(?!return|throw|delete|goto)[\w:]+(?:<[^;=()]*>)?[*&]* [*&]?(?:const )?\w+(?: = |;|{|\(|\[)"
)
LUA_NO_STATEMENT = re.compile(r"(if|for|while|repeat|else|elseif|end|until|function|local function|do)\b")
LUA_GOES_ON = re.compile(r"(\b(and|or|not)|\.\.|[,({\[=+*/<>-])$")
LUA_CONTINUES = re.compile(r"(and\b|or\b|\.\.|[])},:+*/<>=-])")
OPENING, CLOSING = "([{", ")]}"


class Fault(NamedTuple):
    path: str
    line: int  # of its first character
    operator: str
    start: int  # in the text of the file
    end: int
    replacement: str

    def applied(self, text):
        return text[: self.start] + self.replacement + text[self.end :]

    def shown(self, text):
        """The lines that it touches, before and after, with one space between their words."""
        first = text.rfind("\n", 0, self.start) + 1
        last = text.find("\n", self.end)
        last = len(text) if last < 0 else last
        after = text[first : self.start] + self.replacement + text[self.end : last]
        return " ".join(text[first:last].split()), " ".join(after.split())

    def line_above(self, text):
        """The last line above it that is not empty: with it, two of the same text are told apart."""
        return next((line.strip() for line in reversed(text[: self.start].split("\n")[:-1]) if line.strip()), "")


def masked(text, is_lua):
    """The text with spaces for comments and dots for what strings hold; offsets stay."""
    if is_lua:
        pattern = r"--\[\[.*?\]\]|--[^\n]*|\[\[.*?\]\]|\"(?:\\.|[^\"\\\n])*\"|'(?:\\.|[^'\\\n])*'"
    else:
        pattern = (
            r"//[^\n]*|/\*.*?\*/|^[ \t]*#(?:\\\n|[^\n])*|R\"(?P<end>\w*)\(.*?\)(?P=end)\""
            r"|\"(?:\\.|[^\"\\\n])*\"|(?<![0-9A-Fa-f])'(?:\\.|[^'\\\n])*'"
        )

    def hide(match):
        piece = match.group()
        if piece[0] in "\"'":
            return piece[0] + "." * (len(piece) - 2) + piece[-1]
        return re.sub(r"[^\n]", " ", piece)

    return re.sub(pattern, hide, text, flags=re.S | re.M)


def executable(mask, is_lua):
    """For each character whether it is code: of a function's body, or a value that is defined."""
    if is_lua:
        return [not character.isspace() for character in mask]
    code = [False] * len(mask)
    scopes = []
    head_start = 0
    in_value = False
    for at, character in enumerate(mask):
        inside = any(scopes)
        code[at] = (inside or in_value) and not character.isspace()
        if character == "{":
            head = mask[head_start:at]
            declares = re.search(r"\b(namespace|class|struct|union|enum|extern)\b[^()=]*$", head)
            scopes.append(inside or in_value or not declares)
            if scopes[-1] and not inside:
                for match in re.finditer(r"^\s*[:,].*$", head, re.M):
                    for index in range(head_start + match.start(), head_start + match.end()):
                        code[index] = not mask[index].isspace()
        elif character == "}" and scopes:
            scopes.pop()
        elif character == "=" and not inside:
            in_value = True
        if character == ";" and not inside:
            in_value = False
        if character in ";{}":
            head_start = at + 1
    return code


def closing_of(mask, opening):
    """The offset of the bracket that closes the one at opening, or None."""
    depth = 0
    for at in range(opening, len(mask)):
        if mask[at] in OPENING:
            depth += 1
        elif mask[at] in CLOSING:
            depth -= 1
            if depth == 0:
                return at
    return None


def pieces_of(mask, start, end, separator):
    """The ranges between the separators that stand in no bracket of the range."""
    ranges, depth, first = [], 0, start
    for at in range(start, end):
        if mask[at] in OPENING:
            depth += 1
        elif mask[at] in CLOSING:
            depth -= 1
        elif mask[at] == separator and depth == 0:
            ranges.append((first, at))
            first = at + 1
    ranges.append((first, end))
    return ranges


def trimmed(mask, start, end):
    while start < end and mask[start].isspace():
        start += 1
    while end > start and mask[end - 1].isspace():
        end -= 1
    return start, end


def conditions(mask, is_lua):
    """The ranges of whole conditions, and of boolean results."""
    found = []
    if is_lua:
        for match in re.finditer(r"\b(?:if|elseif)\b(.*?)\bthen\b|\bwhile\b(.*?)\bdo\b|\buntil\b([^\n]*)", mask, re.S):
            group = next(number for number in (1, 2, 3) if match.group(number) is not None)
            if not re.search(r"\b(function|if)\b", match.group(group)):
                found.append(match.span(group))
    else:
        for match in re.finditer(r"\b(if|while|for)\s*(?:constexpr\s*)?\(", mask):
            end = closing_of(mask, match.end() - 1)
            parts = pieces_of(mask, match.end(), end, ";") if end else []
            if match.group(1) == "for":
                found += parts[1:2]
            else:
                found += parts[-1:]
        for match in re.finditer(r"\breturn ([^;{}]*);", mask):
            if re.search(r" (==|!=|<=|>=|<|>|&&|\|\|) |^!", match.group(1)) and "?" not in match.group(1):
                found.append(match.span(1))
    found = [trimmed(mask, *span) for span in found]
    return [(start, end) for start, end in found if start < end and not re.search(r"[^=!<>]=[^=]", mask[start:end])]


def negations(text, mask, is_lua):
    spans = conditions(mask, is_lua)
    no = "not " if is_lua else "!"
    for start, end in spans:
        yield start, end, f"{no}({text[start:end]})"

    def is_whole(at):
        return any(start <= at < end and not re.search(r"&&|\|\||\b(and|or)\b", mask[start:end]) for start, end in spans)

    unequal = "~=" if is_lua else "!="
    for match in re.finditer(r"(?<= )(==|!=|~=)(?= )", mask):
        if not is_whole(match.start()):
            yield match.start(), match.end(), unequal if match.group() == "==" else "=="
    for match in re.finditer(r"\bnot (?!\()" if is_lua else r"!(?=[\w(:*])", mask):
        if not is_whole(match.start()):
            yield match.start(), match.end(), ""
    if not is_lua:
        yield from other_ways(text, mask)


def other_ways(text, mask):
    """Each a ? b : c without another inside gets its results the other way round."""
    for match in re.finditer(r"\?\s+([^?:;{}]|::)+\s:\s", mask):
        first = trimmed(mask, match.start() + 1, match.end() - 2)
        end, depth = match.end(), 0
        while end < len(mask) and (depth > 0 or mask[end] not in ",;)]}"):
            depth += (mask[end] in OPENING) - (mask[end] in CLOSING)
            end += 1
        if "?" not in mask[match.end() : end]:
            last = trimmed(mask, match.end(), end)
            yield first[0], last[1], text[slice(*last)] + text[first[1] : last[0]] + text[slice(*first)]


def boundaries(text, mask, is_lua):
    moved = {"<": "<=", "<=": "<", ">": ">=", ">=": ">"}
    for match in re.finditer(r"(?<= )(<=|>=|<|>)(?= )", mask):
        yield match.start(), match.end(), moved[match.group()]
    for match in re.finditer(r"[\w)\]]( [+-] 1)\b(?![.'])", mask):
        yield match.start(), match.end(), text[match.start()]


def statements(mask, is_lua):
    """The ranges of whole simple statements, each on lines of its own."""
    return lua_statements(mask) if is_lua else cpp_statements(mask)


def lua_statements(mask):
    lines, offset, open_tables = [], 0, 0
    for line in mask.split("\n"):
        if line.strip():
            lines.append((offset, line, open_tables > 0))
        open_tables += line.count("{") - line.count("}")
        offset += len(line) + 1
    for index, (offset, line, in_table) in enumerate(lines):
        word = line.strip()
        before = lines[index - 1][1].rstrip() if index else ""
        after = lines[index + 1][1].strip() if index + 1 < len(lines) else ""
        balanced = all(word.count(opening) == word.count(closing) for opening, closing in zip(OPENING, CLOSING))
        blocks = len(re.findall(r"\b(function|then|do)\b", word)) - len(re.findall(r"\bend\b", word))
        joined = LUA_GOES_ON.search(before) or LUA_GOES_ON.search(word) or LUA_CONTINUES.match(after)
        # What stands between the braces of a table is no statement, even if it reads like one.
        if balanced and blocks == 0 and not in_table and not joined and not LUA_NO_STATEMENT.match(word):
            yield trimmed(mask, offset, offset + len(line))


def cpp_statements(mask):
    for match in re.finditer(r"^[ ]*(?=\w|[*(:~+-])", mask, re.M):
        start = match.end()
        before = mask[max(0, match.start() - 200) : match.start()].rstrip()
        if not before or not (before[-1] in ";{}):" or re.search(r"\b(else|do)$", before)):
            continue
        if CPP_NO_STATEMENT.match(mask, start) or CPP_DECLARATION.match(mask, start):
            continue
        depth, end = 0, start
        while end < len(mask) and (depth > 0 or mask[end] != ";"):
            if mask[end] in OPENING:
                if mask[end] == "{" and depth == 0 and not re.search(r"[\w\])=>]\s?$", mask[start:end]):
                    break
                depth += 1
            elif mask[end] in CLOSING:
                depth -= 1
                if depth < 0:
                    break
            end += 1
        statement = mask[start : end + 1]
        if not statement.endswith(";") or depth != 0 or re.search(r"\bif .*\{", statement):
            continue
        if re.match(r"return [^\n]*;\n}", mask[start : end + 3]):
            continue  # without it the function would have no result, which is no longer compiled
        if re.match(r"[ ]*(\n|$)", mask[end + 1 :]):
            yield start, end + 1


def drops(text, mask, is_lua):
    for start, end in statements(mask, is_lua):
        # Braces, since a compiler warns of a lone semicolon.
        yield start, end, ("" if is_lua else "{}") + "\n" * text.count("\n", start, end)


def constants(text, mask, is_lua):
    for match in re.finditer(r"(?<![\w.])(0[xX][0-9A-Fa-f']+|\d[\d']*(?:\.\d+)?)(?=[uUlLfFzZ]*\b)", mask):
        number = match.group().replace("'", "")
        if "." in number:
            changed = repr(float(number) + 1)
        elif number[:2] in ("0x", "0X"):
            changed = hex(int(number, 16) + 1)
        else:
            changed = str(int(number) + 1)
        yield match.start(), match.end(), changed
    for match in re.finditer(r"\b(true|false)\b", mask):
        yield match.start(), match.end(), "false" if match.group() == "true" else "true"
    for match in re.finditer(r"\"\.*\"" + (r"|'\.*'" if is_lua else ""), mask):
        yield match.start() + 1, match.start() + 1, "x"
    if not is_lua:
        for match in re.finditer(r"'\.'", mask):
            at = match.start() + 1
            yield at, at + 1, "z" if text[at] == "y" else "y"


def swaps(text, mask, is_lua):
    for match in re.finditer(r"[\w>\])]?\s?[({]", mask):
        opening = match.end() - 1
        word = re.search(r"(\w*)\s?$", mask[max(0, opening - 40) : opening]).group(1)
        end = closing_of(mask, opening)
        if not end or word in CPP_CONTROL:
            continue
        arguments = pieces_of(mask, opening + 1, end, ",")
        if any(len(pieces_of(mask, *argument, ";")) > 1 for argument in arguments):
            continue  # a block of statements
        arguments = [trimmed(mask, *argument) for argument in arguments]
        for one, other in zip(arguments, arguments[1:]):
            first, second = text[slice(*one)], text[slice(*other)]
            if first and second and first != second:
                yield one[0], other[1], second + text[one[1] : other[0]] + first
    steps = list(statements(mask, is_lua))
    for one, other in zip(steps, steps[1:]):
        between = text[one[1] : other[0]]
        first, second = text[slice(*one)], text[slice(*other)]
        adjoin = between.count("\n") == 1 and not between.strip()
        if adjoin and first != second and not CPP_LEAVES.match(first) and not CPP_LEAVES.match(second):
            if indent_of(text, one[0]) == indent_of(text, other[0]):
                yield one[0], other[1], second + between + first


def indent_of(text, at):
    return at - text.rfind("\n", 0, at)


OPERATORS = {
    "negate": negations,
    "boundary": boundaries,
    "drop": drops,
    "constant": constants,
    "swap": swaps,
}


def faults_of(path, text):
    """All faults of one file, by line and operator."""
    is_lua = path.endswith(".lua")
    mask = masked(text, is_lua)
    code = executable(mask, is_lua)
    found = {}
    for operator, edits in OPERATORS.items():
        for start, end, replacement in edits(text, mask, is_lua):
            if code[start]:
                line = text.count("\n", 0, start) + 1
                fault = Fault(path, line, operator, start, end, replacement)
                found.setdefault(line, {}).setdefault(operator, []).append(fault)
    return found


def drawn(texts, seed):
    """Faults without end, none twice: a line of all, one operator of the line's, a place of it."""
    lines = []
    for path in sorted(texts):
        lines += [operators for _, operators in sorted(faults_of(path, texts[path]).items())]
    generator = random.Random(seed)
    seen = set()
    while True:
        operators = generator.choice(lines)
        fault = generator.choice(operators[generator.choice(sorted(operators))])
        if fault not in seen:
            seen.add(fault)
            yield fault

"""Finds the single faults that can be planted into a C++ source: its mutants.

It reads the tree's own formatting: a binary operator stands between blanks, a template's bracket or a
reference does not.
"""
import bisect
import dataclasses
import re

TOKEN = re.compile(
    r"""(?P<space>\s+)
      | (?P<comment>//[^\n]*|/\*.*?\*/)
      | (?P<directive>^[ \t]*\#(?:[^\n\\]|\\.)*)
      | (?P<string>(?:u8|[uUL])?R"(?P<mark>[^(\s]*)\(.*?\)(?P=mark)"|(?:u8|[uUL])?"(?:[^"\\\n]|\\.)*")
      | (?P<character>'(?:[^'\\\n]|\\.)+')
      | (?P<number>\.?\d(?:[eEpP][+-]|'?[\w.])*)
      | (?P<word>[A-Za-z_]\w*)
      | (?P<sign><=>|->\*|\.\.\.|<<=|>>=|::|->|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|.)""",
    re.VERBOSE | re.DOTALL | re.MULTILINE)

OPERATORS = {
    "<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"],
    "==": ["!="], "!=": ["=="], "&&": ["||"], "||": ["&&"],
    "+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "%": ["/"], "|": ["&"], "&": ["|"],
    "<<": [">>"], ">>": ["<<"], "+=": ["-="], "-=": ["+="],
}
CLOSING = {"(": ")", "[": "]", "{": "}"}
# What may stand between a function's parameters and its body.
AFTER_PARAMETERS = {"const", "noexcept", "override", "final", "mutable", "else", "do", "try"}
# What begins a statement that cannot be dropped, or is none.
KEPT = {
    "using", "namespace", "struct", "class", "enum", "union", "template", "friend", "typedef", "static",
    "const", "constexpr", "auto", "static_assert", "assert", "case", "default", "public", "private",
    "protected", "throw", "extern", "inline", "virtual", "explicit", "goto", "co_yield", "if", "for", "while",
    "switch", "do", "try", "catch", "else", "return", "co_return", "static_cast", "thread_local", "mutable",
}
# What looks like a call and is none, and calls to which the order of two values is all one.
NOT_SWAPPED = {"if", "for", "while", "switch", "catch", "sizeof", "decltype", "max", "min", "swap"}
LOG = {"log_", "log", "diagnosticLog_", "systemLog_"}


@dataclasses.dataclass(frozen=True)
class Mutant:
    """One fault in one file. Its key names it by content, so that it outlives changes elsewhere."""

    path: str
    kind: str
    line: int
    start: int
    end: int
    text: str
    function: str = ""
    before: str = ""
    after: str = ""
    repetition: int = 1

    @property
    def key(self):
        mark = f" ({self.repetition})" if self.repetition > 1 else ""
        return f"{self.path}: {self.function}{mark}\n- {self.before}\n+ {self.after}"


@dataclasses.dataclass
class Token:
    kind: str
    text: str
    start: int
    end: int
    mate: int = -1  # of a bracket: the index of the other one
    code: bool = False  # of a brace: whether it holds statements


class Source:
    """One file, cut into tokens."""

    def __init__(self, path, text):
        self.path = path
        self.text = text
        self.tokens = []
        for match in TOKEN.finditer(text):
            if match.lastgroup not in ("space", "comment", "directive"):
                kind = "string" if match.group("string") else match.lastgroup
                self.tokens.append(Token(kind, match.group(), match.start(), match.end()))
        self.line_starts = [0] + [m.end() for m in re.finditer("\n", text)]
        self.found = []
        self.quiet = []  # spans of tokens in which no fault is planted
        self.logged = []  # spans of tokens that only say something in a log
        self.match_brackets()
        self.find_quiet_spans()

    # Shape

    def match_brackets(self):
        open_ones = []
        for index, token in enumerate(self.tokens):
            if token.kind != "sign":
                continue
            if token.text in CLOSING:
                open_ones.append(index)
            elif token.text in CLOSING.values() and open_ones:
                token.mate = open_ones.pop()
                self.tokens[token.mate].mate = index
        for index, token in enumerate(self.tokens):
            if token.text == "{" and token.kind == "sign":
                token.code = self.holds_statements(index)

    def word(self, index):
        return self.tokens[index].text if 0 <= index < len(self.tokens) else ""

    def holds_statements(self, index):
        before = self.word(index - 1)
        if before in (")", "else", "do", "try", ":", ";"):
            return True
        if before == "]":  # a lambda without parameters, unless it is an element of something
            opening = self.tokens[index - 1].mate
            return self.word(opening - 1) in ("(", ",", "=", "return", "{") or opening == 0
        if before in AFTER_PARAMETERS:
            return self.word(index - 2) in (")", "const", "noexcept")
        if before == "}":  # the last member's initializer stands before a constructor's body
            mate = self.tokens[index - 1].mate
            return not self.tokens[mate].code and self.word(mate - 1) not in (",", "{", "(")
        if before == "{":
            return self.tokens[index - 1].code
        # A return type after the parameters.
        for back in range(index - 1, max(index - 12, 0), -1):
            if self.word(back) == "->" and self.word(back - 1) == ")":
                return True
            if self.word(back) in (";", "{", "}", "="):
                return False
        return False

    def skip_quietly(self, index, last):
        self.quiet.append((index, last))

    def find_quiet_spans(self):
        for index, token in enumerate(self.tokens):
            if token.text in ("static_assert", "assert") and self.word(index + 1) == "(":
                self.skip_quietly(index, self.tokens[index + 1].mate)
            elif token.text in ("using", "friend", "template", "namespace", "extern", "operator"):
                last = index
                stops = (";", "{", "(") if token.text != "template" else (">", ";")
                while last + 1 < len(self.tokens) and self.word(last) not in stops:
                    last += 1
                self.skip_quietly(index, last)
            elif token.text == "=" and self.word(index + 1) in ("0", "default", "delete"):
                if self.word(index - 1) in (")", "const", "override", "noexcept"):
                    self.skip_quietly(index, index + 1)
            elif token.text == "[" and self.word(index + 1) == "[":
                self.skip_quietly(index, token.mate)

    @staticmethod
    def lies_in(index, spans):
        return any(first <= index <= last for first, last in spans)

    def blank_before(self, index):
        start = self.tokens[index].start
        return start == 0 or self.text[start - 1].isspace()

    def blank_after(self, index):
        end = self.tokens[index].end
        return end >= len(self.text) or self.text[end].isspace()

    # Planting

    def plant(self, kind, index, text, last=None):
        if self.lies_in(index, self.quiet):
            return
        start = self.tokens[index].start
        end = self.tokens[index if last is None else last].end
        line = bisect.bisect_right(self.line_starts, start)
        self.found.append(Mutant(self.path, kind, line, start, end, text))

    def mutants(self):
        for index, token in enumerate(self.tokens):
            if token.kind == "sign" and token.text == "{" and token.code:
                self.plant_in_statements(index)
        for index, token in enumerate(self.tokens):
            if token.kind == "sign":
                self.plant_operator(index, token)
                if token.text == "?":
                    self.plant_swapped_branches(index)
            elif token.kind == "number":
                self.plant_number(index, token)
            elif token.kind == "character":
                self.plant_character(index, token)
            elif token.kind == "string" and not self.lies_in(index, self.logged):
                self.plant(
                    "constant", index, '"~"' if token.text == '""' else token.text[:-1] + '~"')
            elif token.text in ("true", "false"):
                self.plant("constant", index, "false" if token.text == "true" else "true")
            elif token.text == "if" and self.word(index + 1) == "(":
                self.plant_condition(index + 1)
        return self.named()

    def plant_operator(self, index, token):
        before, after = self.tokens[index - 1], self.tokens[min(index + 1, len(self.tokens) - 1)]
        if token.text == "!" and not self.blank_after(index):
            self.plant("operator", index, "")
        elif token.text in ("++", "--"):
            self.plant("operator", index, "--" if token.text == "++" else "++")
        elif token.text == "-" and self.blank_before(index) and not self.blank_after(index):
            self.plant("operator", index, "")
        elif token.text in OPERATORS and self.blank_before(index) and self.blank_after(index):
            if "string" in (before.kind, after.kind) or before.text == "operator":
                return
            for replacement in OPERATORS[token.text]:
                self.plant("operator", index, replacement)

    def plant_number(self, index, token):
        if self.word(index - 1) == "<" and not self.blank_before(index):
            return  # a template's argument
        match = re.fullmatch(r"(0[xX][\da-fA-F']+|[\d'.]+(?:[eE][+-]?\d+)?)([uUlLfFzZ]*)", token.text)
        if not match:
            return
        digits, suffix = match.group(1).replace("'", ""), match.group(2)
        if "." in digits or ("e" in digits.lower() and not digits.lower().startswith("0x")):
            value = float(digits)
            self.plant("constant", index, f"{value + 1}{suffix}")
            return
        octal = len(digits) > 1 and digits[0] == "0" and digits.isdigit()
        value = int(digits, 8 if octal else 0)
        self.plant("constant", index, f"{value + 1}{suffix}")
        if value > 0:
            self.plant("constant", index, f"{value - 1}{suffix}")

    def plant_character(self, index, token):
        body = token.text[1:-1]
        if len(body) == 1 and body.isalnum():
            self.plant("constant", index, f"'{chr(ord(body) + 1)}'")
        else:
            self.plant("constant", index, "'~'")

    def plant_condition(self, opening):
        closing = self.tokens[opening].mate
        first = opening + 1
        for index in range(opening + 1, closing):
            if self.tokens[index].text == ";":
                first = index + 1
        if self.declares(first, closing):
            self.plant("condition", closing, "; false)")
            return
        for value in ("true", "false"):
            if self.text[self.tokens[first].start:self.tokens[closing - 1].end] != value:
                self.plant("condition", first, value, closing - 1)

    def declares(self, first, last):
        """Whether a declaration begins there: two names in a row, but for `new` and its like."""
        if self.word(first) in ("const", "auto", "static", "constexpr", "struct"):
            return True
        index = first
        while index < last:
            if self.tokens[index].kind != "word" or self.word(index) in ("co_await", "new", "delete"):
                return False
            index += 1
            if self.word(index) == "<" and not self.blank_before(index):
                depth = 0
                while index < last:
                    if self.word(index) in ("<", ">", ">>"):
                        depth += {"<": 1, ">": -1, ">>": -2}[self.word(index)]
                    index += 1
                    if depth <= 0:
                        break
            if self.word(index) == "::":
                index += 1
                continue
            while self.word(index) in ("&", "*", "const", "&&") and not self.blank_before(index):
                index += 1
            return index < last and self.tokens[index].kind == "word"
        return False

    def end_of_expression(self, index):
        """The last token of the expression that begins there, up to a bracket, comma or semicolon."""
        while index < len(self.tokens):
            if self.word(index) in CLOSING and self.tokens[index].mate > index:
                index = self.tokens[index].mate
            elif self.word(index) in (",", ";", ")", "]", "}", ":"):
                return index - 1
            index += 1
        return index - 1

    def plant_swapped_branches(self, index):
        colon = self.end_of_expression(index + 1) + 1
        if self.word(colon) != ":":
            return
        last = self.end_of_expression(colon + 1)
        if any(self.word(i) == "?" for i in range(colon + 1, last)):
            return
        one = self.text[self.tokens[index + 1].start:self.tokens[colon - 1].end]
        other = self.text[self.tokens[colon + 1].start:self.tokens[last].end]
        if one != other:
            self.plant("condition", index, f"? {other} : {one}", last)

    # Statements and calls

    def plant_in_statements(self, opening):
        index, closing = opening + 1, self.tokens[opening].mate
        while index < closing:
            first = self.word(index)
            if first in ("if", "for", "while", "switch", "catch"):
                bracket = index + 1
                while bracket < closing and self.word(bracket) != "(":
                    bracket += 1
                index = self.tokens[bracket].mate + 1
            elif first == "{":  # looked at by itself
                index = self.tokens[index].mate + 1
            elif first in ("else", "do", "try", ";"):
                index += 1
            elif first == "case" or first == "default":
                while index < closing and self.word(index) != ":":
                    index += 1
                index += 1
            else:
                last = index
                while last < closing and self.word(last) != ";":
                    mate = self.tokens[last].mate
                    last = mate + 1 if self.word(last) in CLOSING and mate > last else last + 1
                if last < closing:
                    self.plant_in_statement(index, last)
                index = last + 1

    def plant_in_statement(self, first, semicolon):
        words = [self.word(i) for i in range(first, semicolon)]
        logs = bool(LOG.intersection(words[:1])) or words[0] == "RecordingFinishReport"
        if logs:
            self.logged.append((first, semicolon))
        if words[0] in ("return", "co_return"):
            result = "".join(words[1:])
            if words == ["return"]:
                self.plant("statement", first, ";", semicolon)
            elif result not in ("", "{}", "std::nullopt", "false", "nullptr", "0", "true"):
                self.plant("statement", first, words[0] + " {};", semicolon)
        elif words[0] in ("break", "continue"):
            self.plant("statement", first, ";", semicolon)
        elif words[:3] == ["static_cast", "<", "void"]:
            self.plant("statement", first, ";", semicolon)
        elif words[0] not in KEPT and not self.declares(first, semicolon):
            self.plant("statement", first, ";", semicolon)
        self.plant_swapped_arguments(first, semicolon)

    def plant_swapped_arguments(self, first, last):
        for index in range(first, last):
            if self.word(index) != "(" or self.tokens[index - 1].kind != "word":
                continue
            if self.word(index - 1) in NOT_SWAPPED:
                continue
            closing = self.tokens[index].mate
            if self.word(closing + 1) in ("{", "const", "mutable", "->"):
                if self.word(closing + 1) != "->" or self.tokens[index - 1].text == "]":
                    continue
            arguments = self.arguments(index, closing)
            for one, other in zip(arguments, arguments[1:]):
                self.plant_swapped_pair(one, other)

    def plant_swapped_pair(self, one, other):
        texts = [self.text[self.tokens[a].start:self.tokens[b].end] for a, b in (one, other)]
        if any(text.startswith("[") or '"' in text for text in texts) or texts[0] == texts[1]:
            return
        gap = self.text[self.tokens[one[1]].end:self.tokens[other[0]].start]
        self.plant("arguments", one[0], texts[1] + gap + texts[0], other[1])

    def arguments(self, opening, closing):
        found, start, index, angle = [], opening + 1, opening + 1, 0
        while index < closing:
            text = self.word(index)
            if text in CLOSING and self.tokens[index].mate > index:
                index = self.tokens[index].mate
            elif text == "<" and not self.blank_before(index):
                angle += 1
            elif text in (">", ">>") and angle > 0:
                angle -= len(text)
            elif text == "," and angle == 0:
                found.append((start, index - 1))
                start = index + 1
            index += 1
        if start < closing:
            found.append((start, closing - 1))
        return found

    # Names

    def named(self):
        seen, result = {}, []
        for mutant in sorted(set(self.found), key=lambda m: (m.start, m.end, m.text)):
            whole = dataclasses.replace(
                mutant, function=self.function_at(mutant.line), **self.change(mutant))
            identity = (whole.function, whole.before, whole.after)
            seen[identity] = seen.get(identity, 0) + 1
            result.append(dataclasses.replace(whole, repetition=seen[identity]))
        return result

    def change(self, mutant):
        """The lines that the fault touches, before and after it, with their layout taken out."""
        first = self.text.rfind("\n", 0, mutant.start) + 1
        last = self.text.find("\n", mutant.end)
        last = len(self.text) if last == -1 else last
        before = self.text[first:last]
        after = self.text[first:mutant.start] + mutant.text + self.text[mutant.end:last]
        return {"before": " ".join(before.split()), "after": " ".join(after.split())}

    def function_at(self, line):
        """The name of the function around a line, or the line at the margin that begins its block."""
        lines = self.text.split("\n")
        for index in range(line - 1, -1, -1):
            text = lines[index]
            if not re.match(r"[A-Za-z~]", text) or text.startswith(("namespace", "using", "template")):
                continue
            name = re.search(r"((?:\w+::)*~?(?:operator\W+|\w+))\(", text)
            return name.group(1) if name else text.rstrip(" {").split("{")[0].split(" = ")[0]
        return "file"


def mutants_of(path, text):
    return Source(path, text).mutants()


def planted(text, mutant):
    return text[:mutant.start] + mutant.text + text[mutant.end:]

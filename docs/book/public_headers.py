"""Reads the functions of the public headers with what their comments say."""

import dataclasses
import pathlib
import re
from typing import List, Tuple

HEADERS = ("zerovaapi.h", "lorvex_translator.h")

RULE = re.compile(r" {1,2}\d+\. ")
COMMENT = re.compile(r"^/\*(.*?)\*/\n", re.S | re.M)
DECLARATION = re.compile(r"(?:ZEROVAAPI|LORVEX)_EXPORT\s+(.*?);", re.S)

Block = Tuple[str, List[str]]  # "text" with one line, or "as written" with lines


@dataclasses.dataclass
class Function:
   name: str
   header: str
   prototype: str
   parameters: List[str]
   summary: str
   description: List[Block]
   result: List[Block]
   codes: List[str]
   family: str
   about_family: List[Block]

   @property
   def ownership(self) -> str:
      said = " ".join(line for _, lines in self.result for line in lines)
      owned = re.search(r"owned: (\w+)", said)
      if owned:
         return f"The result belongs to the caller, who releases it with {owned[1]}."
      borrowed = re.search(r"borrowed from (\w+)", said)
      if borrowed:
         return f"The result lives inside {borrowed[1]}, dies with it, and is never released."
      if self.name == "lorvex_exported_create":
         return "The result belongs to the caller, who ends it through its own destroy."
      if re.search(r"_destroy(Session|String|StringArray)?$", self.name):
         return "What is given is released, and must not be used afterwards."
      return "No ownership passes."

   @property
   def threads(self) -> str:
      given = " ".join(self.parameters)
      if self.name == "lorvex_exported_create":
         return "any number of threads at once"
      if self.name in ("zerovaapi_showRoute", "zerovaapi_destroyAllImmediateRoutes"):
         return "any number of threads at once, each with a status of its own"
      if "_Session session" in given:
         return "one thread at a time for a session"
      if "_RouteAttributes attrs" in given or "_AttributeMap map" in given:
         return "one thread at a time for an attribute object"
      if "Container container" in given:
         if self.name.endswith("_destroy"):
            return "one thread, and no other in a call on the container"
         several = "any number of threads at once, also on one container"
         return several + (", each with a status of its own" if "status" in given else "")
      if "status" in given:
         return "any number of threads at once, each with a status of its own"
      return "any number of threads at once, each on its own argument" if given != "void" else "any number of threads"


def lines_of(comment: str) -> List[str]:
   """The lines of a comment without what marks it as one."""
   return [re.sub(r"^ ?\* ?", "", line).rstrip() for line in comment.strip(" \n").splitlines()]


def paragraphs(lines: List[str]) -> List[List[str]]:
   found: List[List[str]] = [[]]
   for line in lines:
      if line:
         found[-1].append(line)
      elif found[-1]:
         found.append([])
   return [paragraph for paragraph in found if paragraph]


def blocks(lines: List[str]) -> List[Block]:
   """Running text and what is indented, in turns."""
   found: List[Block] = []
   for line in lines:
      kind = "as written" if line.startswith("   ") else "text"
      if not found or found[-1][0] != kind:
         found.append((kind, []))
      found[-1][1].append(line)
   return [(kind, lines if kind == "as written" else [" ".join(lines)]) for kind, lines in found]


def sentences(text: str) -> List[str]:
   return re.split(r"(?<=\.) (?=[A-Z])", text)


def sorted_out(body: List[List[str]]) -> Tuple[List[Block], List[Block], List[str]]:
   """What a comment says of the function, of its result and of its codes."""
   description: List[Block] = []
   result: List[Block] = []
   codes: List[str] = []
   for paragraph in body:
      place = description
      for kind, lines in blocks(paragraph):
         if kind == "as written":
            place.append((kind, lines))
            continue
         said: List[str] = []
         answer: List[str] = []
         kept = said
         for sentence in sentences(lines[0]):
            if re.match(r"Returns |On failure", sentence):
               kept = answer
            elif re.match(r"Codes?: ", sentence):
               kept = codes
            elif re.match(r"[a-zA-Z_0-9, ]+: |Looks at|Takes no status|Does not look|An ", sentence):
               kept = said
            kept.append(sentence)
         place = result if kept is answer else description
         description += [("text", [" ".join(said)])] if said else []
         result += [("text", [" ".join(answer)])] if answer else []
   return description, result, codes


def family_of(comment: str) -> Tuple[str, List[Block]]:
   lines = lines_of(comment)
   title = lines[0].rstrip(".")
   return title, [block for paragraph in paragraphs(lines[1:]) for block in blocks(paragraph)]


def functions_of(header: str, text: str) -> List[Function]:
   found = []
   family, about_family = "Translators", []  # type: Tuple[str, List[Block]]
   for comment in COMMENT.finditer(text):
      if comment.start() == 0:
         continue
      declaration = DECLARATION.match(text, comment.end())
      if not declaration:
         if text[comment.end()] == "\n" and header == HEADERS[0]:
            family, about_family = family_of(comment[1])
         continue
      prototype = " ".join(declaration[1].replace("QUELERR_CALL", "").split()) + ";"
      name = prototype[:prototype.index("(")].split()[-1].lstrip("*")
      parameters = [part.strip() for part in prototype[prototype.index("(") + 1:-2].split(",")]
      told = paragraphs(lines_of(comment[1]))
      summary, body = " ".join(told[0]), told[1:]
      description, result, codes = sorted_out(body)
      found.append(Function(name, header, prototype.replace("( ", "("), parameters, summary, description, result, codes,
                            family, about_family))
   return found


def functions(folder: pathlib.Path) -> List[Function]:
   """All functions that leave the library, in the order of the headers."""
   return [function for header in HEADERS
           for function in functions_of(header, (folder / header).read_text(encoding="utf-8"))]


def rules(header: str) -> List[List[str]]:
   """The lines of each numbered rule of the comment at the top."""
   comment = header[:header.index("*/")]
   found: List[List[str]] = []
   for line in comment.splitlines()[1:]:
      line = line[2:] if line.startswith(" *") else line
      rule = RULE.match(line)
      if rule:
         found.append([line[rule.end():]])
      elif found:
         found[-1].append(line[5:])
   if not found:
      raise ValueError("the header does not begin with numbered rules")
   return found

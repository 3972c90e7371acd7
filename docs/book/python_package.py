"""The classes of the Python package for the book, as its sources tell them. Nothing of it is imported."""

import ast
import re

# In this order, which is that of use.
MODULES = ("session", "attributes", "containers", "translator", "errors")
PARAMETER = re.compile(r"[a-z_]+(, [a-z_]+)*: ")


def exported(package):
   """Each class that the package exports."""
   imports = [each for each in ast.parse((package / "__init__.py").read_text(encoding="utf-8")).body
              if isinstance(each, ast.ImportFrom)]
   names = {each.name for imported in imports for each in imported.names}
   for module in MODULES:
      for node in ast.parse((package / f"{module}.py").read_text(encoding="utf-8")).body:
         if isinstance(node, ast.ClassDef) and node.name in names:
            yield node


def told(node):
   """A docstring, in which each line that names a parameter or a member begins an entry of a list."""
   page = []
   for paragraph in (ast.get_docstring(node) or "").split("\n\n"):
      parts = [""]
      for line in paragraph.splitlines():
         if PARAMETER.match(line):
            parts.append(f"- `{line.partition(':')[0]}`:{line.partition(':')[2]}")
         else:
            parts[-1] += (" " if parts[-1] else "") + line.strip()
      page += [parts[0], "\n".join(parts[1:])]
   return [part for part in page if part]


def signature(name, function):
   arguments = re.sub(r"(?<=[\w\]])=", " = ", re.sub(r"^self(, )?", "", ast.unparse(function.args)))
   result = f" -> {ast.unparse(function.returns)}" if function.returns and name == function.name else ""
   line = f"{name}({arguments}){result}"
   if len(line) <= 80:
      return line
   return f"{name}(\n   " + ",\n   ".join(re.split(r", (?=\*|\w+:)", arguments)) + f"){result}"


def members(node):
   """The choices of an enumeration, or the fields of a record."""
   for each in node.body:
      if isinstance(each, ast.Assign):
         yield each.targets[0].id
      elif isinstance(each, ast.AnnAssign):
         yield ast.unparse(each)


def of_class(node):
   bases = ", ".join(ast.unparse(base) for base in node.bases)
   functions = {each.name: each for each in node.body if isinstance(each, ast.FunctionDef)}
   made = functions.get("__init__")
   page = [f"## {node.name}", *told(node)]
   code = [f"class {node.name}{f'({bases})' if bases else ''}"]
   # What a program makes itself takes its arguments by name; the rest it is given.
   if made and made.args.kwonlyargs:
      code.append(signature(node.name, made))
   code += [f"   {member}" for member in members(node) if not member.startswith("_")]
   page.append("```python\n" + "\n".join(code) + "\n```")
   for name, function in functions.items():
      if name.startswith("_"):
         continue
      is_property = any(getattr(each, "id", "") == "property" for each in function.decorator_list)
      shown = f"{name}: {ast.unparse(function.returns)}" if is_property else signature(name, function)
      page += [f"### {node.name}.{name}", f"```python\n{shown}\n```", *told(function)]
   return page


def page(package):
   parts = ["# The Python package", "What `import zerovaapi` brings, class by class. [Python](python.md) tells how it is used."]
   for node in exported(package):
      parts += of_class(node)
   return "\n\n".join(parts) + "\n"

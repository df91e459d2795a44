"""Holds the installed headers to what they promise. Each compiles alone, with nothing but installed
headers around it. Every function, method and variable that they declare without defining it is
exported by the shared library, and nothing else is; no open operation takes a type that no header
defines. What they declare is what stands in the list of names, so that nothing that hosts use goes
unnoticed. Usage: check_headers.py INCLUDE_FOLDER LIBRARY NAMES [--write]"""

import concurrent.futures
import pathlib
import re
import subprocess
import sys

from clang.cindex import AccessSpecifier, CursorKind, Index, TypeKind

FUNCTIONS = {CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.CONSTRUCTOR,
             CursorKind.DESTRUCTOR, CursorKind.CONVERSION_FUNCTION, CursorKind.FUNCTION_TEMPLATE}
SCOPES = {CursorKind.NAMESPACE, CursorKind.LINKAGE_SPEC, CursorKind.UNEXPOSED_DECL,
          CursorKind.CLASS_DECL, CursorKind.STRUCT_DECL, CursorKind.CLASS_TEMPLATE}
NAMES = {CursorKind.VAR_DECL, CursorKind.FIELD_DECL, CursorKind.ENUM_CONSTANT_DECL,
         CursorKind.TYPEDEF_DECL, CursorKind.TYPE_ALIAS_DECL}


def parse(folder, header_names):
    text = "".join(f"#include <oxparser/{name}>\n" for name in header_names)
    return Index.create().parse("host.cpp", ["-xc++", "-std=c++20", f"-I{folder}"],
                                unsaved_files=[("host.cpp", text)])


def declarations(cursor, folder):
    for child in cursor.get_children():
        file = child.location.file
        if file is not None and not file.name.startswith(str(folder)):
            continue
        if child.kind in SCOPES:
            yield from declarations(child, folder)
        if child.kind == CursorKind.ENUM_DECL:
            yield from child.get_children()
        elif child.kind in FUNCTIONS | NAMES:
            yield child


def qualified(cursor):
    names = [cursor.displayname if cursor.kind in FUNCTIONS else cursor.spelling]
    scope = cursor.semantic_parent
    while scope is not None and scope.kind != CursorKind.TRANSLATION_UNIT:
        if scope.spelling and scope.kind != CursorKind.LINKAGE_SPEC:
            names.append(scope.spelling)
        scope = scope.semantic_parent
    return "::".join(reversed(names))


def is_open(cursor):
    while cursor is not None and cursor.kind != CursorKind.TRANSLATION_UNIT:
        if cursor.access_specifier == AccessSpecifier.PRIVATE:
            return False
        cursor = cursor.semantic_parent
    return True


def in_template(cursor):
    while cursor is not None:
        if cursor.kind in (CursorKind.CLASS_TEMPLATE, CursorKind.FUNCTION_TEMPLATE):
            return True
        cursor = cursor.semantic_parent
    return False


def must_link(cursor):
    if (cursor.kind not in FUNCTIONS | {CursorKind.VAR_DECL} or cursor.is_pure_virtual_method()
            or cursor.get_definition() is not None):
        return False
    words = {token.spelling for token in cursor.get_tokens()}
    return not words & {"constexpr", "inline", "default", "delete"}


def unknown_types(cursor, folder):
    """Types of ours that an operation takes or answers and that no installed header defines."""
    types = [cursor.result_type, *(argument.type for argument in cursor.get_arguments())]
    for type_ in types:
        while type_.kind in (TypeKind.POINTER, TypeKind.LVALUEREFERENCE, TypeKind.RVALUEREFERENCE):
            type_ = type_.get_pointee()
        declared = type_.get_declaration()
        if (declared.kind in (CursorKind.CLASS_DECL, CursorKind.STRUCT_DECL)
                and declared.get_definition() is None
                and declared.location.file.name.startswith(str(folder))):
            yield declared.spelling


def one_form(symbol):
    """A constructor or destructor has several symbols for one declaration."""
    return re.sub(r"(?<=[a-zA-Z0-9_])([CD])[0125](?=E)", r"\g<1>1", symbol)


def main():
    folder, library, names_file = (pathlib.Path(argument) for argument in sys.argv[1:4])
    headers = sorted(file.name for file in (folder / "oxparser").glob("*.h"))
    wrong = []
    with concurrent.futures.ThreadPoolExecutor() as pool:  # libclang works outside Python's lock
        for name, alone in zip(headers, pool.map(lambda h: parse(folder, [h]), headers)):
            wrong += [f"{name} does not compile alone: {diagnostic}"
                      for diagnostic in alone.diagnostics if diagnostic.severity >= diagnostic.Error]

    listing = subprocess.run(["nm", "-D", "--defined-only", library], check=True,
                             capture_output=True, text=True).stdout
    exported = {}
    for line in listing.splitlines():
        _, kind, symbol = line.split()
        exported[one_form(symbol)] = kind

    names, declared = set(), set()
    for cursor in declarations(parse(folder, headers).cursor, folder):
        name = qualified(cursor)
        if is_open(cursor):
            value = (f" = {cursor.enum_value}" if cursor.kind == CursorKind.ENUM_CONSTANT_DECL else "")
            names.add(name + value)
        if in_template(cursor):
            continue
        symbol = one_form(cursor.mangled_name or cursor.spelling)
        declared.add(symbol)
        if must_link(cursor) and symbol not in exported:
            wrong.append(f"declared, but no host can link it: {name} ({cursor.location.file.name})")
        if cursor.kind in FUNCTIONS and is_open(cursor):
            wrong += [f"{name} takes or answers {unknown}, which no installed header defines"
                      for unknown in unknown_types(cursor, folder)]
    # Strong symbols that are no tables of classes: functions and variables.
    leaked = sorted(symbol for symbol, kind in exported.items()
                    if kind in "TDBR" and not symbol.startswith("_ZT") and symbol not in declared)
    wrong += [f"exported, but no installed header declares it: {symbol}" for symbol in leaked]

    if "--write" in sys.argv:
        names_file.write_text("".join(f"{name}\n" for name in sorted(names)))
    known = set(names_file.read_text().splitlines())
    wrong += [f"gone: {name} (hosts must be told, in CHANGELOG.md)" for name in sorted(known - names)]
    wrong += [f"not in {names_file.name}: {name}" for name in sorted(names - known)]
    if known != names:
        wrong.append(f"to accept: {sys.executable} {' '.join(sys.argv)} --write")
    print("\n".join(wrong) or f"{len(headers)} headers, {len(names)} names, {len(exported)} symbols")
    return 1 if wrong or not headers or not exported else 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Writes what a compiler for macOS needs beside its C library: make_sdk.py TABLE DIRECTORY

Headers and linker stubs of Apple's frameworks. They declare the rows of the table, each in its framework's header, and
what Foundation brings along of Apple's headers that are in the C library; nothing else.
"""
import re
import sys
from collections import defaultdict
from pathlib import Path

PRELUDE = """#include <AssertMacros.h>
#include <MacTypes.h>
#include <TargetConditionals.h>
#include <dispatch/dispatch.h>
#import <objc/NSObject.h>
#include <cstdint>
#define nullable
#define null_unspecified
typedef double CGFloat;
typedef unsigned short unichar;
struct CGPoint { CGFloat x, y; };
struct CGSize { CGFloat width, height; };
struct CGRect { CGPoint origin; CGSize size; };
typedef CGPoint NSPoint;
typedef CGSize NSSize;
typedef CGRect NSRect;
struct NSRange { NSUInteger location, length; };
typedef struct CGColor *CGColorRef;
typedef struct _NSZone NSZone;
inline NSRange NSMakeRange(NSUInteger location, NSUInteger length) { return {location, length}; }
inline NSPoint NSMakePoint(CGFloat x, CGFloat y) { return {x, y}; }
inline NSSize NSMakeSize(CGFloat w, CGFloat h) { return {w, h}; }
inline NSRect NSMakeRect(CGFloat x, CGFloat y, CGFloat w, CGFloat h) { return {{x, y}, {w, h}}; }
@protocol NSCopying
- (id)copyWithZone:(NSZone *)zone;
@end
"""
IMPORTS = {"Foundation": [], "AppKit": ["Foundation"], "QuartzCore": ["Foundation"]}
GENERIC = {"NSArray": "<ObjectType>", "NSDictionary": "<KeyType, ObjectType>"}
# The functions of Objective-C's runtime that the compiler refers to, and two that C calls.
RUNTIME = """objc_msgSend objc_msgSend_stret objc_msgSendSuper2 objc_autoreleasePoolPush objc_autoreleasePoolPop objc_begin_catch
objc_end_catch objc_exception_rethrow objc_setProperty objc_alloc objc_alloc_init objc_opt_class objc_opt_self
objc_opt_isKindOfClass objc_opt_respondsToSelector objc_opt_new __objc_personality_v0 _objc_empty_cache
objc_ehtype_vtable objc_retain objc_release objc_autorelease objc_terminate objc_getClass sel_registerName""".split()
TARGETS = "[ x86_64-macos, arm64-macos ]"


def declaration(kind, selector, result, arguments=""):
    words = selector.split(":")
    types = re.split(r", (?![^<]*>)", arguments) if arguments else []
    variadic = types and types[-1] == "..."
    types = types[:-1] if variadic else types
    if not types:
        return f"{kind} ({result}){selector};"
    parts = " ".join(f"{word}:({t})a{i}" for i, (word, t) in enumerate(zip(words, types)))
    return f"{kind} ({result}){parts}{', ...' if variadic else ''};"


def stub(path, install_name, classes, symbols, exceptions=()):
    path.parent.mkdir(parents=True, exist_ok=True)
    lines = ["--- !tapi-tbd", "tbd-version: 4", f"targets: {TARGETS}", f"install-name: '{install_name}'", "exports:",
             f"  - targets: {TARGETS}"]
    for key, names in (("symbols", symbols), ("objc-classes", classes), ("objc-eh-types", exceptions)):
        if names:
            lines.append(f"    {key}: [ {', '.join(sorted(names))} ]")
    path.write_text("\n".join(lines + ["...", ""]))


def main(table, directory):
    rows = [line.split("\t") for line in Path(table).read_text().splitlines() if line and not line.startswith("#")]
    kinds = defaultdict(list)
    for kind, *fields in rows:
        kinds[kind].append(fields)
    constants, methods, classes, symbols = defaultdict(list), defaultdict(list), defaultdict(set), defaultdict(set)
    for name, of, value in kinds["constant"]:
        constants[of].append(f"{name} = {value}")
    for owner, kind, selector, result, *arguments in kinds["method"]:
        methods[owner].append(declaration(kind, selector, result, *arguments))

    texts = {name: ["#pragma once", *(f"#import <{other}/{other}.h>" for other in others)]
             for name, others in IMPORTS.items()}
    text = texts["Foundation"]
    text.append(PRELUDE)
    for name, *_ in kinds["class"]:
        text.append(f"@class {name}{GENERIC.get(name, '')};")
    for name, kind, underlying in kinds["type"]:
        values = ", ".join(constants[name])
        text.append(f"enum {name} : {underlying} {{ {values} }};" if kind == "enum" else f"typedef {underlying} {name};")
        if kind != "enum" and values:
            text.append(f"enum : {underlying} {{ {values} }};")
    for (name,) in kinds["protocol"]:
        text += [f"@protocol {name} <NSObject>", *methods[name], "@end"]
    text += ["@interface NSObject (Foundation)", *methods["NSObject"], "@end"]
    written, waiting = {"NSObject"}, list(kinds["class"])
    while waiting:  # a superclass before its subclasses
        name, parent, of, *protocols = waiting.pop(0)
        if parent not in written:
            waiting.append([name, parent, of, *protocols])
            continue
        written.add(name)
        classes[of].add(name)
        adopted = f" <{', '.join(protocols[0].split())}>" if protocols else ""
        texts[of] += [f"@interface {name}{GENERIC.get(name, '')} : {parent}{adopted}", *methods[name], "@end"]
    for name, of, where in kinds["extern"]:
        texts[where].append(f'extern "C" {of} {"" if "*" in of else "const "}{name};')
        symbols[where].add("_" + name)
    for name, result, arguments, where in kinds["function"]:
        texts[where].append(f'extern "C" {result} {name}({arguments});')
        symbols[where].add("_" + name)

    root = Path(directory)
    frameworks = root / "System/Library/Frameworks"
    for name, lines in texts.items():
        headers = frameworks / f"{name}.framework/Headers"
        headers.mkdir(parents=True, exist_ok=True)
        (headers / f"{name}.h").write_text("\n".join(lines) + "\n")
        more = {"___CFConstantStringClassReference"} if name == "Foundation" else set()
        stub(frameworks / f"{name}.framework/{name}.tbd",
             f"/System/Library/Frameworks/{name}.framework/Versions/C/{name}", classes[name], symbols[name] | more,
             {"NSException"} if name == "Foundation" else ())
    stub(root / "usr/lib/libobjc.tbd", "/usr/lib/libobjc.A.dylib", {"NSObject"}, {"_" + s for s in RUNTIME})


if __name__ == "__main__":
    main(*sys.argv[1:])

#!/usr/bin/python3
# vesk postprocessor. Licensed under the Apache License, Version 2.0.
#
# File: validate_json.py
#
# Checks JSON reports of vesk-report against docs/report.schema.json with a
# JSON Schema 2020-12 validator (Debian's python3-jsonschema: run it with
# /usr/bin/python3) and its format checker, and optionally compares a
# report with an expected one.
#
#   validate_json.py [--schema FILE] [--expect FILE [--ignore KEY]...]
#                    REPORT...
#
# Every REPORT must be one JSON object, without duplicate keys, NaN or
# Infinity, valid against the schema. With --expect, each REPORT must also
# equal the expected document exactly, object member order included, after
# the top-level members named by --ignore (e.g. generated_at) are dropped
# from both. Prints one line per problem; exit status 0 when every report
# passes, 1 when one does not, 2 for bad usage or a missing file.

import argparse
import datetime
import json
import os
import re
import sys

try:
    import jsonschema
except ImportError:
    sys.exit("validate_json.py: python3-jsonschema is missing "
             "(run it with /usr/bin/python3)")

DEFAULT_SCHEMA = os.path.join(os.path.dirname(os.path.abspath(__file__)),
                              "..", "..", "docs", "report.schema.json")

RFC3339 = re.compile(r"^\d{4}-\d{2}-\d{2}[Tt]\d{2}:\d{2}:\d{2}(\.\d+)?"
                     r"([Zz]|[+-]\d{2}:\d{2})$")


class BadJson(Exception):
    pass


class Object(list):
    """A JSON object as its (key, value) pairs in order; never equal to an
    array, and unequal to an object whose members are in another order."""

    def __eq__(self, other):
        return type(other) is Object and list.__eq__(self, other)

    def __ne__(self, other):
        return not self == other

    __hash__ = None


def no_duplicates(pairs):
    seen = set()
    for key, _ in pairs:
        if key in seen:
            raise BadJson("duplicate key %r" % key)
        seen.add(key)
    return Object(pairs)


def no_constant(name):
    raise BadJson("%s is not JSON" % name)


def load(path):
    """The document with its objects as Object, member order kept."""
    with open(path, "rb") as f:
        raw = f.read()
    text = raw.decode("utf-8")  # strict: a report is UTF-8
    return json.loads(text, object_pairs_hook=no_duplicates,
                      parse_constant=no_constant)


def to_plain(value):
    """Pairs to dicts, for the validator."""
    if isinstance(value, Object):
        return {k: to_plain(v) for k, v in value}
    if isinstance(value, list):
        return [to_plain(v) for v in value]
    return value


def is_object(value):
    return isinstance(value, Object)


def format_checker():
    checker = jsonschema.Draft202012Validator.FORMAT_CHECKER
    if "date-time" not in checker.checkers:
        # Without the optional rfc3339 module jsonschema skips "date-time";
        # check it here so the format is never silently unchecked.
        @checker.checks("date-time", raises=ValueError)
        def is_date_time(instance):
            if not isinstance(instance, str):
                return True
            if not RFC3339.match(instance):
                raise ValueError("not RFC 3339")
            datetime.datetime.fromisoformat(
                instance.upper().replace("Z", "+00:00"))
            return True
    return checker


def path_text(path):
    return "".join("[%d]" % p if isinstance(p, int) else "." + str(p)
                   for p in path) or "(top)"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--schema", default=DEFAULT_SCHEMA)
    parser.add_argument("--expect")
    parser.add_argument("--ignore", action="append", default=[])
    parser.add_argument("reports", nargs="+")
    args = parser.parse_args()

    try:
        with open(args.schema, "rb") as f:
            schema = json.loads(f.read().decode("utf-8"))
        jsonschema.Draft202012Validator.check_schema(schema)
        expected = load(args.expect) if args.expect else None
    except (OSError, ValueError, BadJson,
            jsonschema.exceptions.SchemaError) as e:
        print("validate_json.py: %s" % e, file=sys.stderr)
        return 2
    validator = jsonschema.Draft202012Validator(
        schema, format_checker=format_checker())

    failed = False
    for path in args.reports:
        try:
            document = load(path)
        except OSError as e:
            print("validate_json.py: %s" % e, file=sys.stderr)
            return 2
        except (ValueError, BadJson) as e:
            print("%s: not JSON: %s" % (path, e))
            failed = True
            continue
        errors = sorted(validator.iter_errors(to_plain(document)),
                        key=lambda e: list(e.absolute_path))
        for error in errors:
            print("%s: %s: %s" % (path, path_text(error.absolute_path),
                                  error.message))
            failed = True
        if expected is not None:
            if not is_object(document) or not is_object(expected):
                print("%s: not an object" % path)
                failed = True
                continue
            got = [p for p in document if p[0] not in args.ignore]
            want = [p for p in expected if p[0] not in args.ignore]
            if got != want:
                failed = True
                keys = [k for k, _ in want]
                for key, value in got:
                    if key not in keys:
                        print("%s: unexpected member %r" % (path, key))
                    elif value != dict(want)[key]:
                        print("%s: member %r differs from %s" %
                              (path, key, args.expect))
                for key in keys:
                    if key not in dict(got):
                        print("%s: missing member %r" % (path, key))
                if [k for k, _ in got] != keys and set(
                        k for k, _ in got) == set(keys):
                    print("%s: members not in the expected order" % path)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())

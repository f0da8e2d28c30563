#!/usr/bin/env python3
"""Checks docs/scenario.schema.json against the scenarios and against the program.

    scenario_schema_test.py --source-dir DIR --ribpolicy PROGRAM   # the test (CTest)
    scenario_schema_test.py --source-dir DIR FILE...               # validate scenarios

The test
- validates every example and every golden scenario that `ribpolicy check` accepts;
- has the schema refuse a table of bad documents, each of which the program refuses too,
  and accept a table of documents in unusual but valid forms, each of which the program
  accepts too;
- holds the schema to the format's table, which `ribpolicy format-table` prints and the
  reader, the writer and the random scenarios follow: the configuration's keys, each
  section's keys, the policy map's lists, every match option with its number, value form and
  keys and ranges, and every set clause with its value form, range and community flags;
- checks that the program does what its table says, through its messages rather than its
  source: a scenario using every match option and every set clause of the schema must pass
  `ribpolicy check`; for every mapping of fixed keys, the keys that the program's "unknown
  key" message lists must be the schema's; for every option of the table and a few other
  numbers, the name and the keys that its "does not apply" message gives must be the
  table's; and docs/scenario-format.md must name every key, option and option number.

Scenarios are loaded as the program reads them: the reader takes every scalar as its text,
and the program reads numbers (decimal or 0x hexadecimal) and booleans
(true/True/TRUE/false/False/FALSE) from that text whether or not it was quoted. The loader
types scalars by those same rules, so `seq: "10"` is the integer 10 here as it is for the
program, `yes` stays a string, and `010` is ten. Only a plain ~, null, Null, NULL or empty
scalar is null. Keys stay text; a repeated key is an error, as it is for the program.
"""

import argparse
import json
import pathlib
import re
import subprocess
import sys

import jsonschema
import yaml

INT_RE = re.compile(
    r"^(?:[0-9]+|0[xX][0-9a-fA-F]+|-0*[1-9][0-9]*|-0[xX]0*[1-9a-fA-F][0-9a-fA-F]*)$")
BOOL_RE = re.compile(r"^(?:true|True|TRUE|false|False|FALSE)$")
NULL_RE = re.compile(r"^(?:~|null|Null|NULL|)$")


class ScenarioLoader(yaml.SafeLoader):
    """A safe loader that types scalars the way the program reads them."""

    def resolve(self, kind, value, implicit):
        if kind is yaml.ScalarNode and (implicit[0] or implicit[1]):
            if implicit[0] and NULL_RE.match(value):
                return "tag:yaml.org,2002:null"
            if BOOL_RE.match(value):
                return "tag:yaml.org,2002:bool"
            if INT_RE.match(value):
                return "tag:yaml.org,2002:int"
            return "tag:yaml.org,2002:str"
        return super().resolve(kind, value, implicit)

    def construct_yaml_int(self, node):
        text = node.value
        negative = text.startswith("-")
        digits = text[1:] if negative else text
        base = 16 if digits[:2] in ("0x", "0X") else 10
        value = int(digits[2:] if base == 16 else digits, base)
        return -value if negative else value

    def construct_yaml_bool(self, node):
        return node.value.lower() == "true"

    def construct_mapping(self, node, deep=False):
        if not isinstance(node, yaml.MappingNode):
            raise yaml.constructor.ConstructorError(None, None, "expected a mapping",
                                                    node.start_mark)
        out = {}
        for key_node, value_node in node.value:
            if not isinstance(key_node, yaml.ScalarNode):
                raise yaml.constructor.ConstructorError(
                    None, None, "a key must be a scalar", key_node.start_mark)
            key = "" if key_node.tag == "tag:yaml.org,2002:null" else key_node.value
            if key in out:
                raise yaml.constructor.ConstructorError(
                    None, None, f"duplicate key {key!r}", key_node.start_mark)
            out[key] = self.construct_object(value_node, deep=deep)
        return out


ScenarioLoader.add_constructor("tag:yaml.org,2002:int", ScenarioLoader.construct_yaml_int)
ScenarioLoader.add_constructor("tag:yaml.org,2002:bool", ScenarioLoader.construct_yaml_bool)


def load(text):
    return yaml.load(text, Loader=ScenarioLoader)


def schema_errors(validator, document):
    return sorted(validator.iter_errors(document), key=lambda e: [str(p) for p in e.absolute_path])


def describe(error):
    error = jsonschema.exceptions.best_match([error])
    where = "/".join(str(p) for p in error.absolute_path) or "(top)"
    return f"{where}: {error.message[:200]}"


class Program:
    """Runs `ribpolicy check` on a file or on text, and reads the format's table."""

    def __init__(self, path):
        self.path = path

    def format_table(self):
        r = subprocess.run([self.path, "format-table"], capture_output=True, text=True, check=True)
        return json.loads(r.stdout)

    def check_file(self, path):
        r = subprocess.run([self.path, "check", str(path)], capture_output=True, text=True)
        return r.returncode, r.stderr.strip()

    def check_text(self, text):
        r = subprocess.run([self.path, "check", "-"], input=text, capture_output=True, text=True)
        return r.returncode, r.stderr.strip()


def scenario_files(source):
    files = sorted((source / "examples").glob("*.yaml"))
    files += sorted((source / "tests" / "scenarios").rglob("*.yaml"))
    return files


def validate_scenarios(validator, program, source, failures):
    validated = 0
    refused = 0
    for path in scenario_files(source):
        status, message = program.check_file(path)
        if status != 0:
            # Not a scenario the program accepts: the schema makes no promise about it.
            refused += 1
            print(f"skipped (the program refuses it): {path.relative_to(source)}: {message}")
            continue
        try:
            document = load(path.read_text())
        except yaml.YAMLError as e:
            failures.append(f"{path.relative_to(source)}: the loader refuses it: {e}")
            continue
        errors = schema_errors(validator, document)
        for e in errors[:5]:
            failures.append(f"{path.relative_to(source)}: the schema refuses: {describe(e)}")
        validated += 1
    if validated == 0:
        failures.append("no scenario was validated")
    print(f"validated {validated} scenarios ({refused} refused by the program, skipped)")


def wrap_map_entry(entry):
    return {"steps": [{"config": {"route-maps": {"RM": [dict({"seq": 10, "action": "permit"},
                                                              **entry)]}}}]}


def wrap_config(config):
    return {"steps": [{"config": config}]}


# Documents that the program refuses and the schema must refuse too. Each is YAML text,
# so that scalar typing is part of what is checked.
BAD = [
    ("unknown top-level key", "vrf: a\nsteps: [{config: {}}]\nsteps2: 1\n"),
    ("no steps", "vrf: a\n"),
    ("empty steps", "steps: []\n"),
    ("step without config", "steps: [{name: x}]\n"),
    ("unknown config section", "steps: [{config: {prefix-list: {}}}]\n"),
    ("unknown input", "steps: [{config: {}, inputs: [route-map]}]\n"),
    ("input listed twice", "steps: [{config: {}, inputs: [acl-config, acl-config]}]\n"),
    ("vrf name too long", "vrf: " + "v" * 65 + "\nsteps: [{config: {}}]\n"),
    ("seq not a number", "steps: [{config: {prefix-lists: {P: [{seq: ten, action: permit, "
     "prefix: 10.0.0.0/8}]}}}]\n"),
    ("seq above 32 bits", "steps: [{config: {prefix-lists: {P: [{seq: 4294967296, "
     "action: permit, prefix: 10.0.0.0/8}]}}}]\n"),
    ("seq as a YAML 1.1 boolean", "steps: [{config: {prefix-lists: {P: [{seq: yes, "
     "action: permit, prefix: 10.0.0.0/8}]}}}]\n"),
    ("action other than permit or deny", "steps: [{config: {prefix-lists: {P: [{seq: 1, "
     "action: allow, prefix: 10.0.0.0/8}]}}}]\n"),
    ("IPv4 prefix length 33", "steps: [{config: {prefix-lists: {P: [{seq: 1, "
     "action: permit, prefix: 10.0.0.0/33}]}}}]\n"),
    ("IPv4 prefix with an octet of 256", "steps: [{config: {prefix-lists: {P: [{seq: 1, "
     "action: permit, prefix: 10.256.0.0/16}]}}}]\n"),
    ("ge beyond an IPv4 prefix", "steps: [{config: {prefix-lists: {P: [{seq: 1, "
     "action: permit, prefix: 10.0.0.0/8, ge: 33}]}}}]\n"),
    ("IPv6 prefix length 129", "steps: [{config: {ipv6-prefix-lists: {P: [{seq: 1, "
     "action: permit, prefix: '2001:db8::/129'}]}}}]\n"),
    ("prefix-list mapping with source", "steps: [{config: {prefix-lists: {P: {source: x, "
     "entries: []}}}}]\n"),
    ("community list mapping with version", "steps: [{config: {community-lists: {C: "
     "{version: 2, entries: []}}}}]\n"),
    ("AS-path origin word other than any", "steps: [{config: {as-path-lists: {A: [{seq: 1, "
     "action: permit, regex: x, origin: igb}]}}}]\n"),
    ("action name for a named set clause", "action-names: {lp: metric}\nsteps: [{config: {}}]\n"),
    ("action name that is a set key", "action-names: {metric: action-2}\n"
     "steps: [{config: {}}]\n"),
    ("well-known community misspelt", "steps: [{config: {community-lists: {C: [{seq: 1, "
     "action: permit, type: standard, communities: [no-exports]}]}}}]\n"),
    ("route target without its number", "steps: [{config: {community-lists: {C: [{seq: 1, "
     "action: permit, type: extended, communities: ['rt:64496']}]}}}]\n"),
    ("set origin by an unknown name", "steps: [{config: {route-maps: {R: [{seq: 1, "
     "action: permit, set: {origin: igb}}]}}}]\n"),
    ("AS-path validity not a pair", "steps: [{config: {as-path-lists: {A: [{seq: 1, "
     "action: permit, regex: x, valid: [true]}]}}}]\n"),
    ("communities on a regex entry", "steps: [{config: {community-lists: {C: [{seq: 1, "
     "action: permit, type: standard-regex, regex: x, communities: []}]}}}]\n"),
    ("regex on a value entry", "steps: [{config: {community-lists: {C: [{seq: 1, "
     "action: permit, type: large, communities: [], regex: x}]}}}]\n"),
    ("community type 6", "steps: [{config: {community-lists: {C: [{seq: 1, action: permit, "
     "type: 6, communities: []}]}}}]\n"),
    ("standard community half above 16 bits", "steps: [{config: {community-lists: {C: "
     "[{seq: 1, action: permit, type: standard, communities: ['65536:1']}]}}}]\n"),
    ("large community of two parts", "steps: [{config: {community-lists: {C: [{seq: 1, "
     "action: permit, type: large, communities: ['1:2']}]}}}]\n"),
    ("access-list source without a mask", "steps: [{config: {access-lists: {A: [{seq: 1, "
     "action: permit, source: 10.0.0.0}]}}}]\n"),
    ("unknown match option", "steps: [{config: {route-maps: {RM: [{seq: 1, action: permit, "
     "match: [{option: prefix-lists, value: P}]}]}}}]\n"),
    ("option name with the wrong key", "steps: [{config: {route-maps: {RM: [{seq: 1, "
     "action: permit, match: [{option: prefix-list, lists: [P]}]}]}}}]\n"),
    ("community match without lists", "steps: [{config: {route-maps: {RM: [{seq: 1, "
     "action: permit, match: [{option: community, exact: true}]}]}}}]\n"),
    ("protocol 10", "steps: [{config: {route-maps: {RM: [{seq: 1, action: permit, "
     "match: [{option: protocol, value: 10}]}]}}}]\n"),
    ("metric type 3", "steps: [{config: {route-maps: {RM: [{seq: 1, action: permit, "
     "match: [{option: 112, value: 3}]}]}}}]\n"),
    ("empty list name in a match", "steps: [{config: {route-maps: {RM: [{seq: 1, "
     "action: permit, match: [{option: prefix-list, value: ''}]}]}}}]\n"),
    ("gateway not an address", "steps: [{config: {route-maps: {RM: [{seq: 1, "
     "action: permit, match: [{option: gateway, value: gw1}]}]}}}]\n"),
    ("AS-path length pair of three", "steps: [{config: {route-maps: {RM: [{seq: 1, "
     "action: permit, match: [{option: as-path-length, pair: [1, 2, 3]}]}]}}}]\n"),
    ("invert not a boolean", "steps: [{config: {route-maps: {RM: [{seq: 1, action: permit, "
     "match: [{option: 1, value: A, invert: 'no'}]}]}}}]\n"),
    ("unknown set key", "steps: [{config: {route-maps: {RM: [{seq: 1, action: permit, "
     "set: {local-preference: high}}]}}}]\n"),
    ("origin 5", "steps: [{config: {route-maps: {RM: [{seq: 1, action: permit, "
     "set: {origin: 5}}]}}}]\n"),
    ("med type 12", "steps: [{config: {route-maps: {RM: [{seq: 1, action: permit, "
     "set: {metric: {value: 1, med-type: 12}}}]}}}]\n"),
    ("metric without a value", "steps: [{config: {route-maps: {RM: [{seq: 1, "
     "action: permit, set: {metric: {med-type: 1}}}]}}}]\n"),
    ("IS-IS level 3", "steps: [{config: {route-maps: {RM: [{seq: 1, action: permit, "
     "set: {isis-level: 3}}]}}}]\n"),
    ("32-bit action given a negative number", "steps: [{config: {route-maps: {RM: [{seq: 1, "
     "action: permit, set: {action-2: -1}}]}}}]\n"),
    ("64-bit action beyond 64 bits", "steps: [{config: {route-maps: {RM: [{seq: 1, "
     "action: permit, set: {action-19: 9223372036854775808}}]}}}]\n"),
    ("prepend-last-as 256", "steps: [{config: {route-maps: {RM: [{seq: 1, action: permit, "
     "set: {as-path-prepend-last-as: 256}}]}}}]\n"),
    ("community add set with the delete flag", "steps: [{config: {route-maps: {RM: [{seq: 1, "
     "action: permit, set: {community: {values: ['1:1'], flag: 1}}}]}}}]\n"),
    ("community-delete with another flag", "steps: [{config: {route-maps: {RM: [{seq: 1, "
     "action: permit, set: {community-delete: {values: ['1:1'], flag: 2}}}]}}}]\n"),
    ("link bandwidth on a standard community set", "steps: [{config: {route-maps: {RM: "
     "[{seq: 1, action: permit, set: {community: {link-bandwidth: {option: 1}}}}]}}}]\n"),
    ("link-bandwidth option 5", "steps: [{config: {route-maps: {RM: [{seq: 1, "
     "action: permit, set: {extended-community: {link-bandwidth: {option: 5}}}}]}}}]\n"),
    ("negative bandwidth", "steps: [{config: {route-maps: {RM: [{seq: 1, action: permit, "
     "set: {extended-community: {link-bandwidth: {option: 2, bandwidth: -1}}}}]}}}]\n"),
    ("large community value in an extended set", "steps: [{config: {route-maps: {RM: "
     "[{seq: 1, action: permit, set: {extended-community: {values: ['1:2:3']}}}]}}}]\n"),
    ("unknown entry key", "steps: [{config: {peer-filters: {PF: [{seq: 1, action: permit, "
     "sub-route-maps: X}]}}}]\n"),
    ("unknown dynamic-prefix-list key", "steps: [{config: {dynamic-prefix-lists: "
     "{D: {match-map: RM, prefix-list: P}}}}]\n"),
    ("unknown policy-map key", "steps: [{config: {policy-map: {peer-filters: [PF]}}}]\n"),
    ("policy-map name listed twice", "steps: [{config: {policy-map: "
     "{route-maps: [RM, RM]}}}]\n"),
    ("empty list name", "steps: [{config: {route-maps: {'': []}}}]\n"),
    ("YAML merge key", "steps: [{config: {route-maps: {RM: [&b {seq: 1, action: permit}, "
     "{<<: *b, seq: 2}]}}}]\n"),
]

# Documents in unusual but valid forms that both the program and the schema accept.
GOOD = [
    ("quoted and hexadecimal numbers", "steps: [{config: {prefix-lists: {P: [{seq: '10', "
     "action: '1', prefix: 10.0.0.0/8, le: 0x18}]}}}]\n"),
    ("leading zeros are decimal", "steps: [{config: {prefix-lists: {P: [{seq: 010, "
     "action: permit, prefix: 010.0.0.0/08, ge: 09}]}}}]\n"),
    ("empty sections and lists", "steps: [{config: {prefix-lists: , route-maps: {RM: }, "
     "policy-map: , dynamic-prefix-lists: {D: }}, inputs: }]\n"),
    ("mapping list forms", "steps: [{config: {as-path-lists: {A: {version: 3, source: s, "
     "entries: [{seq: 1, action: deny, regex: '^1$', origin: 4294967295, "
     "valid: ['true', FALSE]}]}}, access-lists: {L: {entries: [{seq: 1, action: 0, "
     "source: 10.0.0.0/255.0.0.0}]}}}}]\n"),
    ("community forms", "steps: [{config: {community-lists: {C: [{seq: 1, action: permit, "
     "type: 0, communities: [0xFFFF0001, '0x10:0x20', 4294967295]}, {seq: 2, action: deny, "
     "type: 3, regex: 123, version: 0}, {seq: 3, action: permit, type: extended, "
     "communities: [18446744073709551615]}]}}}]\n"),
    ("signed 64-bit forms", "steps: [{config: {route-maps: {RM: [{seq: 1, action: permit, "
     "set: {action-19: '+5', action-3: -0, action-26: -0x10, action-35: "
     "-9223372036854775808, metric: {value: 9223372036854775807}}}]}}}]\n"),
    ("option numbers and pass-through options", "steps: [{config: {route-maps: {RM: [{seq: 1, "
     "action: permit, match: [{option: 2, value: P}, {option: 999, value: abc, upper: 1}, "
     "{option: 4}, {option: contributing-aggregate}]}]}}}]\n"),
    ("names that look like numbers or booleans", "vrf: 10\nsteps: [{name: true, config: "
     "{route-maps: {10: [{seq: 1, action: permit, sub-route-map: 0x20}]}, "
     "policy-map: {route-maps: [10, 'true']}}}]\n"),
    ("bandwidth forms", "steps: [{config: {route-maps: {RM: [{seq: 1, action: permit, "
     "set: {extended-community: {flag: commSetReplace, link-bandwidth: {option: 2, "
     "bandwidth: .5e2}}, large-community: {lists: [L], flag: commSetAdditive}}}]}}}]\n"),
    ("anchors and aliases", "steps: [{config: &c {prefix-lists: {P: [{seq: 1, "
     "action: permit, prefix: 10.0.0.0/8}]}}}, {config: *c}]\n"),
]


def check_tables(validator, program, failures):
    for label, text in BAD:
        status, _ = program.check_text(text)
        if status != 2:
            failures.append(f"bad document '{label}': the program accepts it (status {status})")
        try:
            document = load(text)
        except yaml.YAMLError:
            continue  # the loader refuses it as the program does
        if not schema_errors(validator, document):
            failures.append(f"bad document '{label}': the schema accepts it")
    for label, text in GOOD:
        status, message = program.check_text(text)
        document = load(text)
        if status != 0:
            failures.append(f"good document '{label}': the program refuses it: {message}")
        for e in schema_errors(validator, document)[:3]:
            failures.append(f"good document '{label}': the schema refuses it: {describe(e)}")
    print(f"bad documents: {len(BAD)}; good documents: {len(GOOD)}")


def at(schema, pointer):
    node = schema
    for part in filter(None, pointer.split("/")):
        node = node[int(part)] if isinstance(node, list) else node[part]
    return node


def entry_probe(section, entry):
    return wrap_config({section: {"X": [dict({"seq": 1, "action": "permit"}, **entry)]}})


UNKNOWN = "zz-unknown"


def section_defs(schema, key):
    """The schema's pointers to a section's definition and, for a list, to its entries."""
    definition = schema["$defs"]["config"]["properties"][key]["additionalProperties"]["$ref"]
    definition = definition.lstrip("#/")
    items = at(schema, definition).get("items")
    return definition, items["$ref"].lstrip("#/") if items else None


def fixed_key_mappings(schema, table):
    """Every mapping of fixed keys: a label, where it is in the schema, and a document that
    puts an unknown key into it. The sections and the community sets come from the table."""
    out = [
        ("scenario", "", {"steps": [{"config": {}}], UNKNOWN: 1}),
        ("step", "$defs/step", {"steps": [{"config": {}, UNKNOWN: 1}]}),
        ("config", "$defs/config", wrap_config({UNKNOWN: 1})),
        ("policy-map", "$defs/policyMap", wrap_config({"policy-map": {UNKNOWN: 1}})),
        ("match rule", "$defs/matchRule", wrap_map_entry({"match": [{"option": 1, UNKNOWN: 1}]})),
        ("set", "$defs/set", wrap_map_entry({"set": {UNKNOWN: 1}})),
        ("metric", "$defs/set/properties/metric",
         wrap_map_entry({"set": {"metric": {"value": 1, UNKNOWN: 1}}})),
    ]
    for section in table["sections"]:
        key, label = section["key"], section["label"]
        definition, entry = section_defs(schema, key)
        if entry:
            out.append((f"{label} entry", entry, entry_probe(key, {UNKNOWN: 1})))
        out.append((f"{label} as a mapping", definition, wrap_config({key: {"X": {UNKNOWN: 1}}})))
    for clause in table["setClauses"]:
        if clause["form"] != "communities":
            continue
        key = clause["key"]
        out.append((key, f"$defs/set/properties/{key}", wrap_map_entry({"set": {key: {UNKNOWN: 1}}})))
        if clause["linkBandwidth"]:
            out.append(("link-bandwidth", "$defs/linkBandwidth", wrap_map_entry(
                {"set": {key: {"link-bandwidth": {"option": 1, UNKNOWN: 1}}}})))
    return out


def properties(node):
    """The keys a schema object allows (a key set to false is refused)."""
    return {k for k, v in node["properties"].items() if v is not False}


def compare_with_table(schema, table, failures):
    """The schema against the format's table, row by row."""
    def differ(what, ours, theirs):
        if set(ours) != set(theirs):
            failures.append(f"{what}: the schema has {sorted(set(ours) - set(theirs))} and lacks "
                            f"{sorted(set(theirs) - set(ours))} of the program's table")

    defs = schema["$defs"]
    differ("config", properties(defs["config"]), table["config"])
    for section in table["sections"]:
        definition, _ = section_defs(schema, section["key"])
        differ(f"section {section['key']}", properties(at(schema, definition)), section["keys"])
    differ("policy-map", properties(defs["policyMap"]),
           [held["key"] for held in table["policyMap"]["lists"]])

    rule = defs["matchRule"]
    differ("match rule", rule["properties"], table["matchRuleKeys"])
    names = [o["name"] for o in table["matchOptions"] if o["name"]]
    differ("match option names", rule["properties"]["option"]["anyOf"][0]["enum"], names)
    blocks = {}
    for block in rule["allOf"][:-1]:
        enum = block["if"]["properties"]["option"]["enum"]
        number = next(x for x in enum if isinstance(x, int))
        blocks[number] = (next((x for x in enum if isinstance(x, str)), None), block["then"]["$ref"])
    differ("match option numbers", blocks, [o["option"] for o in table["matchOptions"]])
    for o in table["matchOptions"]:
        if o["option"] in blocks and blocks[o["option"]] != (o["name"], f"#/$defs/match-{o['form']}"):
            failures.append(f"option {o['option']}: the schema has {blocks[o['option']]}, the "
                            f"program's table {o['name']} in the {o['form']} form")
    others = rule["allOf"][-1]["if"]["properties"]["option"]["not"]["enum"]
    differ("options not passed through", others, list(blocks) + names)
    for form in table["matchForms"]:
        node = defs[f"match-{form['name']}"]
        differ(f"match form {form['name']}", properties(node), form["keys"])
        differ(f"match form {form['name']} (required)", node.get("required", []), form["required"])
        value = node["properties"].get("value") or {}
        if "low" in form and (value.get("minimum"), value.get("maximum")) != (form["low"], form["high"]):
            failures.append(f"match form {form['name']}: the schema's range differs from "
                            f"{form['low']} to {form['high']}")

    clauses = defs["set"]["properties"]
    differ("set", clauses, [c["key"] for c in table["setClauses"]])
    differ("set keys", defs["setKey"]["enum"], [c["key"] for c in table["setClauses"]])
    simple = {"asNumbers": "asList", "ipv4Address": "ipv4Address", "ipv6Address": "ipv6Address",
              "signedNumber": "s64", "boolean": "boolean"}
    for c in table["setClauses"]:
        node = clauses.get(c["key"])
        if node is None:
            continue
        form = c["form"]
        if form in simple:
            ok = node.get("$ref") == f"#/$defs/{simple[form]}"
        elif form == "number" and (c["low"], c["high"]) == (0, 4294967295):
            ok = node.get("$ref") == "#/$defs/u32"
        elif form == "number":
            ok = (node.get("minimum"), node.get("maximum")) == (c["low"], c["high"])
            names = next((a["enum"] for a in node.get("anyOf", []) if "enum" in a), [])
            ok = ok and sorted(names) == sorted(c.get("names", {}))
        elif form == "metric":
            ok = set(node["properties"]) == {"value", "med-type"}
        else:
            keys = {"values", "lists", "flag"} | ({"link-bandwidth"} if c["linkBandwidth"] else set())
            flags = [x for x in node["properties"]["flag"]["enum"] if isinstance(x, int)]
            values = node["properties"]["values"]["items"]["$ref"]
            ok = (set(node["properties"]) == keys and sorted(flags) == c["flags"] and
                  values == f"#/$defs/{c['communities']}Community")
        if not ok:
            failures.append(f"set clause {c['key']}: the schema differs from the program's "
                            f"table ({form})")
    print(f"compared with the program's table: {len(table['sections'])} sections, "
          f"{len(table['matchOptions'])} match options, {len(table['setClauses'])} set clauses")


EXPECTED_RE = re.compile(r"\(expected ([^)]*)\)")


def listed_keys(message):
    m = EXPECTED_RE.search(message)
    if not m:
        return None
    return set(m.group(1).replace(" or ", ", ").split(", "))


def check_fixed_keys(schema, table, program, failures):
    mappings = fixed_key_mappings(schema, table)
    for label, pointer, document in mappings:
        status, message = program.check_text(json.dumps(document))
        if f"unknown key '{UNKNOWN}'" not in message:
            failures.append(f"{label}: the program did not name the unknown key: {message}")
            continue
        theirs = listed_keys(message)
        ours = set(at(schema, pointer)["properties"])
        if theirs != ours:
            failures.append(f"{label}: keys differ; only the program's: {sorted(theirs - ours)}, "
                         f"only the schema's: {sorted(ours - theirs)}")
    print(f"fixed-key mappings compared with the program: {len(mappings)}")


def check_options(table, program, failures):
    """The program's "does not apply" message for every option of the table and a few others
    names the option and the keys of its form, as the table has them."""
    forms = {f["name"]: {"option", "invert"} | set(f["keys"]) for f in table["matchForms"]}
    options = {o["option"]: (o["name"] or str(o["option"]), forms[o["form"]])
               for o in table["matchOptions"]}
    probe_re = re.compile(r"does not apply to match option (\S+) \(expected (.*)\)$")
    numbers = sorted(options) + [0, 3, 99, 106, 129, 255, 1000, 65535, 4294967295]
    for number in numbers:
        found = None
        for key, value in (("pair", [1, 2]), ("lists", ["X"])):
            _, message = program.check_text(
                json.dumps(wrap_map_entry({"match": [{"option": number, key: value}]})))
            found = probe_re.search(message)
            if found:
                break
        if not found:
            failures.append(f"option {number}: the program refused no probe key")
            continue
        label, keys = found.group(1), listed_keys(found.group(0))
        want = options.get(number, (str(number), forms["passThrough"]))
        if (label, keys) != want:
            failures.append(f"option {number}: the program says {label} {sorted(keys)}, "
                            f"its table {want[0]} {sorted(want[1])}")
    print(f"option numbers compared with the program: {len(numbers)}")


def check_every_name(schema, table, validator, program, failures):
    rules = schema["$defs"]["matchRule"]["examples"]
    given = {r["option"] for r in rules}
    missing = [o["option"] for o in table["matchOptions"]
               if o["option"] not in given and o["name"] not in given]
    if missing:
        failures.append(f"schema: no example rule for options {missing}")
    example_set = schema["$defs"]["set"]["examples"][0]
    set_keys = set(schema["$defs"]["set"]["properties"])
    if set(example_set) != set_keys:
        failures.append(f"schema: the set example lacks {sorted(set_keys - set(example_set))}")
    entries = [{"seq": 10 * (i + 1), "action": "permit", "match": [r]} for i, r in enumerate(rules)]
    entries.append({"seq": 10 * (len(rules) + 1), "action": "deny", "set": example_set})
    document = wrap_config({"route-maps": {"RM": entries}, "peer-filters": {"PF": entries}})
    for e in schema_errors(validator, document)[:5]:
        failures.append(f"every-name scenario: the schema refuses it: {describe(e)}")
    status, message = program.check_text(json.dumps(document))
    if status != 0:
        failures.append(f"every-name scenario: the program refuses it: {message}")
    print(f"every-name scenario: {len(rules)} match rules, {len(example_set)} set clauses")


def check_reference(schema, table, source, failures):
    """Every key, option and set clause appears in the format reference."""
    text = (source / "docs" / "scenario-format.md").read_text()
    wanted = {o["name"] for o in table["matchOptions"] if o["name"]}
    wanted |= {k for _, pointer, _ in fixed_key_mappings(schema, table)
               for k in at(schema, pointer)["properties"]}
    missing = sorted(k for k in wanted if f"`{k}`" not in text)
    missing += [str(o["option"]) for o in table["matchOptions"]
                if not re.search(rf"\| {o['option']} \|", text)]
    if missing:
        failures.append(f"docs/scenario-format.md does not describe: {missing}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--source-dir", required=True, type=pathlib.Path)
    parser.add_argument("--ribpolicy")
    parser.add_argument("files", nargs="*", type=pathlib.Path)
    args = parser.parse_args()
    schema = json.loads((args.source_dir / "docs" / "scenario.schema.json").read_text())
    jsonschema.Draft202012Validator.check_schema(schema)
    validator = jsonschema.Draft202012Validator(schema)
    failures = []
    if args.files:
        for path in args.files:
            for e in schema_errors(validator, load(path.read_text())):
                failures.append(f"{path}: {describe(e)}")
    if args.ribpolicy:
        program = Program(args.ribpolicy)
        table = program.format_table()
        compare_with_table(schema, table, failures)
        check_reference(schema, table, args.source_dir, failures)
        validate_scenarios(validator, program, args.source_dir, failures)
        check_tables(validator, program, failures)
        check_fixed_keys(schema, table, program, failures)
        check_options(table, program, failures)
        check_every_name(schema, table, validator, program, failures)
    for line in failures:
        print("FAIL: " + line)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Every check of this directory accepts what is right and reports what is wrong."""

import pathlib
import subprocess
import tempfile
import unittest

import allocation_table
import call_table
import deliberate_quirks
import document_links
import exported_symbols
import forbidden_words
import formatting
import include_directions
import sources


class TreeTest(unittest.TestCase):
    """A test with a small tree of its own."""

    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.root = pathlib.Path(directory.name)

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")


class ListedFilesTest(TreeTest):
    def names(self):
        return [str(name) for name in sources.listed_files(self.root)]

    def test_without_a_checkout_everything_but_build_trees_is_listed(self):
        self.write("a.cc", "")
        self.write("build/b.cc", "")
        self.assertEqual(self.names(), ["a.cc"])

    def test_in_a_checkout_new_files_are_listed_and_ignored_ones_are_not(self):
        subprocess.run(["git", "-C", self.root, "init", "-q"], check=True)
        self.write(".gitignore", "*.log\n")
        self.write("new.cc", "")
        self.write("ignored.log", "")
        self.assertEqual(self.names(), [".gitignore", "new.cc"])

    def test_a_file_that_is_no_text_reads_as_empty(self):
        (self.root / "image").write_bytes(b"\xff\xfe\x00")
        self.assertEqual(sources.text_of(self.root, "image"), "")


class FormattingTest(TreeTest):
    def setUp(self):
        super().setUp()
        self.write(".clang-format", "BasedOnStyle: Google\n")

    def test_formatted_code_passes(self):
        self.write("a.cc", "int main() { return 0; }\n")
        self.assertEqual(formatting.check(self.root), [])

    def test_unformatted_code_is_reported_with_its_line(self):
        self.write("a.cc", "int a;\nint   main(){return 0;}\n")
        messages = formatting.check(self.root)
        self.assertTrue(messages)
        self.assertTrue(messages[0].startswith("a.cc:2:"), messages)


class IncludeDirectionsTest(TreeTest):
    HEADERS = (
        "include/acl_lib.h", "platform/include/platform/msgbus.h", "platform/common/tree.h",
        "platform/host/socket.h", "platform/host/include/swplat/server.h",
        "platform/fake/include/fake/fake.h",
        "acl_lib/encoding/rule_format.h", "acl_lib/encoding/rule_text.h",
        "acl_lib/encoding/rule_buffer.h", "acl_lib/encoding/action_codes.h",
        "acl_lib/transport/receive_entry.h", "acl_lib/transport/message_codes.h",
        "acl_lib/policy/policy_bodies.h", "acl_lib/policy/store.h", "acl_lib/dynrules/trace.h",
        "acl_lib/client/rule_table.h", "acl_lib/apppolicy/slices.h", "l2ptf_lib/client.h",
        "manager/model/policy.h",
    )

    def setUp(self):
        super().setUp()
        for header in self.HEADERS:
            self.write(header, "")

    def messages_for(self, name, included):
        self.write(name, f"\n#include {included}\n")
        return include_directions.check(self.root)

    def assert_allowed(self, name, included):
        self.assertEqual(self.messages_for(name, included), [])

    def assert_refused(self, name, included, reason="may not include "):
        messages = self.messages_for(name, included)
        self.assertEqual(len(messages), 1, (name, included))
        self.assertTrue(messages[0].startswith(f"{name}:2: {reason}"), messages)
        (self.root / name).unlink()

    def test_what_each_directory_may_use(self):
        for name, included in (
                ("include/x.h", '"platform/msgbus.h"'),
                ("include/y.h", "<pthread.h>"),
                ("platform/include/platform/x.h", "<stdint.h>"),
                ("platform/host/x.cc", '"platform/common/tree.h"'),
                ("platform/host/y.cc", '"swplat/server.h"'),
                ("platform/fake/x.cc", '"fake/fake.h"'),
                ("acl_lib/encoding/x.cc", '"acl_lib.h"'),
                ("acl_lib/transport/x.cc", '"acl_lib/encoding/rule_format.h"'),
                ("acl_lib/policy/x.cc", '"acl_lib/transport/message_codes.h"'),
                ("acl_lib/policy/y.cc", '"acl_lib/dynrules/trace.h"'),
                ("acl_lib/client/x.cc", '"acl_lib/policy/store.h"'),
                ("acl_lib/client/y.cc", '"acl_lib/transport/receive_entry.h"'),
                ("acl_lib/apppolicy/x.cc", '"acl_lib/client/rule_table.h"'),
                ("l2ptf_lib/x.cc", '"platform/msgbus.h"'),
                ("manager/x.cc", '"acl_lib/policy/policy_bodies.h"'),
                ("manager/y.cc", '"acl_lib/encoding/action_codes.h"'),
                ("manager/z.cc", '"acl_lib/encoding/rule_text.h"'),
                ("manager/v.cc", '"swplat/server.h"'),
                ("examples/x.c", '"acl_lib.h"'),
                ("tests/x.cc", '"platform/host/socket.h"')):
            with self.subTest(name=name):
                self.assert_allowed(name, included)

    def test_what_each_directory_may_not_use(self):
        for name, included in (
                ("include/x.h", '"acl_lib/encoding/rule_format.h"'),
                ("platform/include/platform/x.h", '"acl_lib.h"'),
                ("platform/include/platform/y.h", "<sys/socket.h>"),
                ("platform/common/x.cc", '"platform/host/socket.h"'),
                ("platform/host/x.cc", '"acl_lib.h"'),
                ("platform/host/y.cc", "<acl_lib.h>"),
                ("platform/fake/x.cc", '"platform/host/socket.h"'),
                ("acl_lib/encoding/x.cc", '"acl_lib/transport/message_codes.h"'),
                ("acl_lib/encoding/y.cc", '"swplat/server.h"'),
                ("acl_lib/transport/x.cc", '"acl_lib/policy/store.h"'),
                ("acl_lib/policy/x.cc", '"acl_lib/client/rule_table.h"'),
                ("acl_lib/dynrules/x.cc", '"acl_lib/policy/store.h"'),
                ("acl_lib/client/x.cc", '"acl_lib/apppolicy/slices.h"'),
                ("acl_lib/client/y.cc", '"platform/host/socket.h"'),
                ("acl_lib/client/z.cc", '"manager/model/policy.h"'),
                ("l2ptf_lib/x.cc", '"acl_lib/encoding/rule_format.h"'),
                ("manager/x.cc", '"acl_lib/policy/store.h"'),
                ("manager/y.cc", '"platform/host/socket.h"'),
                ("examples/x.c", '"platform/host/socket.h"')):
            with self.subTest(name=name):
                self.assert_refused(name, included)

    def test_a_file_that_does_not_exist_is_reported(self):
        self.assert_refused("manager/x.cc", '"manager/absent.h"', "no such file: ")


class ForbiddenWordsTest(TreeTest):
    def test_ordinary_text_passes(self):
        self.write("a.md", "Part 2 of 3, specified here; see /run/swplat and docs/host.md.\n")
        self.assertEqual(forbidden_words.check(self.root), [])

    def test_each_kind_is_reported_with_its_line(self):
        for words in ("TO" "DO later", "FIX" "ME", "X" "XX", "not impl" "emented",
                      "see Part" " 2.1", "as the sp" "ec says", "the sp" "ecification",
                      "/ho" "me/somebody", "/ro" "ot/x"):
            with self.subTest(words=words):
                self.write("a.h", f"\n// {words}\n")
                messages = forbidden_words.check(self.root)
                self.assertEqual(len(messages), 1, messages)
                self.assertTrue(messages[0].startswith("a.h:2: "), messages)


class DeliberateQuirksTest(TreeTest):
    def setUp(self):
        super().setUp()
        self.write("tests/a_test.cc", "TEST_F(PolicyTest, KeepsTheName) {}\n")

    def messages_for(self, text):
        self.write(deliberate_quirks.DOCUMENT, text)
        return deliberate_quirks.check(self.root)

    def test_a_missing_document_is_reported(self):
        self.assertEqual(len(deliberate_quirks.check(self.root)), 1)

    def test_lines_that_name_an_existing_test_pass(self):
        self.assertEqual(self.messages_for(
            "# Quirks\n\nProse.\n\n- Kept (`policy.cc`,\n  `PolicyTest.KeepsTheName`).\n"), [])
        self.assertEqual(self.messages_for(
            "- Kept (`All/PolicyTest.KeepsTheName`).\n- Kept (`PolicyTest.*`).\n"), [])
        self.assertEqual(self.messages_for(
            "| Quirk | Test |\n|---|---|\n| kept | `PolicyTest.KeepsTheName` |\n"), [])

    def test_a_line_without_a_test_is_reported(self):
        self.assertEqual(self.messages_for("# Quirks\n- Kept, see `policy.cc`.\n"),
                         [f"{deliberate_quirks.DOCUMENT}:2: names no test"])

    def test_a_test_that_does_not_exist_is_reported(self):
        self.assertEqual(self.messages_for("- Kept (`OtherTest.*`).\n"),
                         [f"{deliberate_quirks.DOCUMENT}:1: no such test: OtherTest.*"])
        self.assertEqual(self.messages_for("- Kept (`PolicyTest.LosesTheName`).\n"),
                         [f"{deliberate_quirks.DOCUMENT}:1: "
                          "no such test: PolicyTest.LosesTheName"])


class CallTableTest(TreeTest):
    def setUp(self):
        super().setUp()
        self.write("include/acl_lib.h", "SWITCH_API int a1(void);\nSWITCH_API int a2(void);\n"
                   "SWITCH_API extern int shared[2];\n")
        self.write("lib/a.cc", "int a1() {\n  return a2();\n}\nint shared[2] = {};\n")
        self.write("lib/b.cc", "int a2() {\n  return 0;\n}\n")

    def messages_for(self, *lines):
        self.write("ARCHITECTURE.md", "".join(line + "\n" for line in lines))
        return call_table.check(self.root)

    def test_a_complete_table_passes_and_the_longest_name_counts(self):
        self.assertEqual(self.messages_for("| `a...` (calls), `shared` | `lib/a.cc` |",
                                           "| `a2` | `lib/b.cc` |"), [])

    def test_a_missing_call_is_reported(self):
        self.assertEqual(self.messages_for("| `a1`, `shared` | `lib/a.cc` |"),
                         ["ARCHITECTURE.md:1: a2: the table of calls does not name it"])

    def test_a_wrong_file_is_reported(self):
        self.assertEqual(self.messages_for("| `a...`, `shared` | `lib/a.cc` |"),
                         ["ARCHITECTURE.md:1: a2: is not defined in lib/a.cc"])

    def test_a_call_that_does_not_exist_is_reported(self):
        self.assertEqual(self.messages_for("| `a1`, `shared` | `lib/a.cc` |",
                                           "| `a2`, `b2` | `lib/b.cc` |"),
                         ["ARCHITECTURE.md:2: b2: no such call"])


class AllocationTableTest(TreeTest):
    ROWS = ('needsNothing("a1", addEntry<a1>),', 'needsMemory("a2", [] { return a2(1); }, 1),',
            'needsMemory("a2", [] { return a2(2); }, 1),')

    JOIN = "std::vector<Row> allRows() {\n  return {kRows};\n}\n"

    def messages_for(self, *rows):
        return self.messages_for_table("const Row kRows[] = {\n" +
                                       "".join(row + "\n" for row in rows) +
                                       "};\nint x = a1() + a2();\n" + self.JOIN)

    def messages_for_table(self, text):
        self.write("include/acl_lib.h", "SWITCH_API int a1(void);\nSWITCH_API int a2(int x);\n"
                   "SWITCH_API extern int shared[2];\n")
        self.write(allocation_table.TABLE, text)
        return allocation_table.check(self.root)

    def test_a_missing_table_is_reported(self):
        self.assertEqual(allocation_table.check(self.root),
                         [f"{allocation_table.TABLE}:1: no such file"])

    def test_a_row_for_every_function_passes(self):
        self.assertEqual(self.messages_for(*self.ROWS), [])
        self.assertEqual(self.messages_for('sendsAPacket("a1", [] { return a1(); }),',
                                           'needsPackets(\n    "a2",\n    [] { return a2(1); }),'), [])

    def test_a_missing_row_is_reported(self):
        self.assertEqual(self.messages_for(self.ROWS[0], '// needsNothing("a2", a2),'),
                         [f"{allocation_table.TABLE}:1: a2: has no row"])

    def test_a_row_of_no_function_is_reported(self):
        self.assertEqual(self.messages_for(*self.ROWS, 'needsNothing("a3", [] { a3(); }),',
                                           'needsNothing("shared", [] { return shared[0]; }),'),
                         [f"{allocation_table.TABLE}:5: a3: no such function",
                          f"{allocation_table.TABLE}:6: shared: no such function"])

    def test_a_row_that_makes_another_call_is_reported(self):
        self.assertEqual(self.messages_for(self.ROWS[1], 'needsNothing("a1", addEntry<a2>),'),
                         [f"{allocation_table.TABLE}:3: a1: the row makes another call"])

    def test_an_array_whose_rows_do_not_run_is_reported(self):
        other = f"const std::vector<Row> kOtherRows = {{\n    {self.ROWS[1]}\n}};\n"
        table = f"const std::vector<Row> kRows = {{\n    {self.ROWS[0]}\n}};\n"
        self.assertEqual(self.messages_for_table(table + other + self.JOIN),
                         [f"{allocation_table.TABLE}:4: kOtherRows: not joined in allRows()"])
        self.assertEqual(self.messages_for_table(
            table + other + self.JOIN.replace("kRows", "kRows, kOtherRows")), [])

    def test_rows_do_not_run_without_all_rows(self):
        self.assertEqual(self.messages_for_table(f"const Row kRows[] = {{\n{self.ROWS[0]}\n"
                                                 f"{self.ROWS[1]}\n}};\nvoid f() {{ kRows; }}\n"),
                         [f"{allocation_table.TABLE}:1: kRows: not joined in allRows()"])


class DocumentLinksTest(TreeTest):
    def messages_for(self, text):
        self.write("docs/a.md", text)
        return document_links.check(self.root)

    def test_links_to_files_and_elsewhere_pass(self):
        self.write("README.md", "")
        self.assertEqual(self.messages_for(
            "[readme](../README.md#top) [top](#top) [web](https://example.org/a.md)\n"), [])

    def test_a_link_to_nowhere_is_reported(self):
        self.assertEqual(self.messages_for("\n[gone](gone.md)\n"),
                         ["docs/a.md:2: no such file: gone.md"])


class ExportedSymbolsTest(unittest.TestCase):
    HEADER = """
#define SWITCH_API __attribute__((visibility("default")))
/* SWITCH_API int32_t commented(void); */
SWITCH_API int32_t send(uint16_t type,
                        const void *body) SWITCH_NOEXCEPT;
SWITCH_API const char *text(const char *format, ...) SWITCH_NOEXCEPT
    __attribute__((format(printf, 1, 2)));
SWITCH_API extern Handle *handle; /* the handle */
SWITCH_API extern const uint8_t table[9];
int32_t internal(void);
"""
    SCRIPT = "LIB_0 {\n  global:\n    send;\n    text;\n    handle;\n    table;\n  local:\n    *;\n};\n"
    SYMBOLS = """
   Num:    Value          Size Type    Bind   Vis      Ndx Name
     0: 0000000000000000     0 NOTYPE  LOCAL  DEFAULT  UND
     1: 0000000000000000     0 FUNC    GLOBAL DEFAULT  UND malloc@GLIBC_2.2.5 (2)
     2: 0000000000001000    10 FUNC    GLOBAL DEFAULT   12 send@@LIB_0
     3: 0000000000001010    10 FUNC    GLOBAL DEFAULT   12 text@@LIB_0
     4: 0000000000002000     8 OBJECT  GLOBAL DEFAULT   23 handle@@LIB_0
     5: 0000000000002008     9 OBJECT  GLOBAL DEFAULT   23 table@@LIB_0
     6: 0000000000000000     0 OBJECT  GLOBAL DEFAULT  ABS LIB_0
"""
    DYNAMIC = " 0x0001 (NEEDED)             Shared library: [libc.so.6]\n"
    NAMES = {"send", "text", "handle", "table"}

    def messages(self, exported=NAMES, listed=NAMES, declared=NAMES, dynamic=DYNAMIC):
        return exported_symbols.compare("libx.so", "x.map", set(exported), set(listed),
                                        set(declared), dynamic)

    def test_the_three_sources_are_read(self):
        self.assertEqual(exported_symbols.declared_names(self.HEADER), self.NAMES)
        self.assertEqual(exported_symbols.listed_names(self.SCRIPT), self.NAMES)
        self.assertEqual(exported_symbols.exported_names(self.SYMBOLS), self.NAMES)

    def test_equal_sets_pass(self):
        self.assertEqual(self.messages(), [])

    def test_each_difference_is_reported(self):
        less = self.NAMES - {"text"}
        self.assertEqual(self.messages(exported=less),
                         ["x.map:1: text: is not exported by libx.so"])
        self.assertEqual(self.messages(declared=less),
                         ["x.map:1: text: is declared in no public header"])
        self.assertEqual(self.messages(listed=less),
                         ["libx.so:1: text: is exported and not in x.map",
                          "x.map:1: text: is declared and not listed"])

    def test_symbolic_linking_is_reported(self):
        for flag in (" 0x1 (SYMBOLIC)  0x0\n", " 0x1e (FLAGS)  SYMBOLIC BIND_NOW\n"):
            self.assertEqual(self.messages(dynamic=self.DYNAMIC + flag),
                             ["libx.so:1: is linked with -Bsymbolic"])

    def test_other_libraries_are_reported(self):
        for library in ("libm.so.6", "libstdc++.so.6", "ld-linux-x86-64.so.2", "libswplat.so.0"):
            self.assertEqual(self.messages(dynamic=f" (NEEDED) Shared library: [{library}]\n"), [])
        self.assertEqual(self.messages(dynamic=" (NEEDED) Shared library: [libfmt.so.9]\n"),
                         ["libx.so:1: needs libfmt.so.9"])


if __name__ == "__main__":
    unittest.main()

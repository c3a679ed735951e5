// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: suppression_file_test.cpp
//
// The suppression file's format: what a good file gives, and the one error
// (line and text) of each kind of bad file.

#include "cli/adjust/suppression_file.hpp"

#include <cstdio>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>

#include "cli/input/input_error.hpp"

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

std::string const kHead = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

// A file of `rules` inside <suppressions version="1"> (the rules start on
// line 3).
std::string file_of(std::string const& rules) {
  return kHead + "<suppressions version=\"1\">\n" + rules + "</suppressions>\n";
}

// The place and text of the error that parsing `text` throws.
std::string error_of(std::string const& text) {
  try {
    parse_suppression_file(text, "f.xml");
  } catch (InputError const& e) {
    return e.place + ": " + e.what();
  }
  return "no error";
}

std::string const kRule =
    "  <suppress id=\"x\" owner=\"o\" reason=\"r\" expires=\"never\"/>\n";

TEST(SuppressionFile, ApiExamples) {
  SuppressionFile const file = parse_suppression_file(
      kHead +
          "<suppressions version=\"1\">\n"
          "  <suppress id=\"dimm-ecc\" nodes=\"r2n11\" owner=\"alice\" "
          "ticket=\"RMA-4711\"\n"
          "            expires=\"2026-12-15\" reason=\"DIMM B2 replacement "
          "ordered\"/>\n"
          "</suppressions>\n",
      "/etc/vesk.xml");
  ASSERT_EQ(file.rules.size(), 1u);
  EXPECT_EQ(file.path, "/etc/vesk.xml");
  EXPECT_EQ(file.rules[0].line, 3u);
  // 2026-12-16T00:00:00Z: 20,803 days after 1970-01-01.
  EXPECT_EQ(file.rules[0].expires_at, std::int64_t{20803} * 86400);
  EXPECT_EQ(error_of("<suppressions version=\"2\"/>"),
            "1: expected version=\"1\" on <suppressions>, found \"2\"");
}

TEST(SuppressionFile, ReadsEveryAttribute) {
  SuppressionFile const file = parse_suppression_file(
      file_of("  <suppress id=\"check_hw_*\" message=\"Device ib? not "
              "found\" kind=\"observation\"\n"
              "    nodes=\"cn[10-12]\" owner=\"carol\" reason=\"fabric &amp; "
              "cards\"\n"
              "    expires=\"2027-01-31T18:00:00Z\" ticket=\"CHG-1202\"/>\n" +
              kRule),
      "f.xml");
  ASSERT_EQ(file.rules.size(), 2u);
  SuppressionRule const& rule = file.rules[0];
  EXPECT_EQ(rule.line, 3u);
  EXPECT_EQ(rule.id, "check_hw_*");
  EXPECT_EQ(rule.message, "Device ib? not found");
  EXPECT_EQ(rule.kind, 1);
  EXPECT_TRUE(rule.has_nodes);
  EXPECT_EQ(rule.nodes, "cn[10-12]");
  EXPECT_EQ(rule.node_names,
            (std::vector<std::string>{"cn10", "cn11", "cn12"}));
  EXPECT_EQ(rule.owner, "carol");
  EXPECT_EQ(rule.reason, "fabric & cards");
  EXPECT_EQ(rule.expires, "2027-01-31T18:00:00Z");
  EXPECT_EQ(rule.ticket, "CHG-1202");
  EXPECT_EQ(file.rules[1].line, 6u);
  EXPECT_EQ(file.rules[1].kind, -1);
  EXPECT_FALSE(file.rules[1].has_nodes);
  EXPECT_EQ(file.rules[1].expires_at, std::nullopt);
  EXPECT_TRUE(file.rules[1].message.empty());
}

TEST(SuppressionFile, CommentsAndCharacterReferencesAreFine) {
  SuppressionFile const file = parse_suppression_file(
      file_of("  <!-- a <suppress> in a comment is no rule -->\n"
              "  <suppress id=\"a&#x2d;b\" owner=\"&#228;\" reason=\"&lt;&gt;"
              "&quot;&apos;\" expires=\"never\"/>\n"),
      "f.xml");
  ASSERT_EQ(file.rules.size(), 1u);
  EXPECT_EQ(file.rules[0].line, 4u);
  EXPECT_EQ(file.rules[0].id, "a-b");
  EXPECT_EQ(file.rules[0].owner, "\xc3\xa4");
  EXPECT_EQ(file.rules[0].reason, "<>\"'");
}

TEST(SuppressionFile, AnEmptyFileOfRulesHasNone) {
  EXPECT_TRUE(parse_suppression_file(file_of(""), "f.xml").rules.empty());
  EXPECT_TRUE(parse_suppression_file("<suppressions version=\"1\"/>", "f.xml")
                  .rules.empty());
}

// examples/vesk.xml is installed as the file every run reads: it must hide
// nothing, and the rules its comment shows must be rules once taken out.
TEST(SuppressionFile, TheExampleHidesNothingAndItsExamplesParse) {
  std::ifstream in(std::string(VESK_CLI_TEST_DIR) + "/../../examples/vesk.xml");
  std::stringstream buffer;
  buffer << in.rdbuf();
  std::string const text = buffer.str();
  EXPECT_TRUE(parse_suppression_file(text, "vesk.xml").rules.empty());

  std::size_t const first = text.find("  <suppress ");
  std::size_t const end = text.find("-->", first);
  ASSERT_NE(first, std::string::npos);
  std::string const examples = text.substr(first, end - first);
  SuppressionFile const file =
      parse_suppression_file(file_of(examples), "vesk.xml");
  ASSERT_EQ(file.rules.size(), 3u);
  EXPECT_EQ(file.rules[0].id, "dimm-ecc");
  EXPECT_EQ(file.rules[0].ticket, "RMA-4711");
  EXPECT_EQ(file.rules[1].id, "kernel-*");
  EXPECT_EQ(file.rules[1].node_names,
            (std::vector<std::string>{"r2n15", "r2n16"}));
  EXPECT_EQ(file.rules[2].message, "Device ib? not found");
  EXPECT_EQ(file.rules[2].kind, 1);
  // 2027-01-31T18:00:00Z: 20,849 days and 18 hours after 1970-01-01.
  EXPECT_EQ(file.rules[2].expires_at, std::int64_t{20849} * 86400 + 18 * 3600);
}

// The parser names the line where it found the fault: the unclosed tag
// of line 3 where the next "<" comes, the unclosed root where it began.
TEST(SuppressionFile, RefusesXmlThatIsNotWellFormed) {
  EXPECT_EQ(error_of(file_of("  <suppress id=\"x\"\n")),
            "4: expected well-formed XML (error parsing start element tag)");
  EXPECT_EQ(error_of(kHead + "<suppressions version=\"1\">\n"),
            "2: expected well-formed XML (start-end tags mismatch)");
  EXPECT_EQ(error_of(""),
            "1: expected well-formed XML (no document element found)");
}

TEST(SuppressionFile, RefusesADoctypeAndUnknownEntities) {
  EXPECT_EQ(
      error_of(kHead + "<!DOCTYPE suppressions [\n"
                       "  <!ENTITY owner \"mallory\">\n"
                       "]>\n"
                       "<suppressions version=\"1\">\n"
                       "  <suppress id=\"x\" owner=\"&owner;\" reason=\"r\" "
                       "expires=\"never\"/>\n"
                       "</suppressions>\n"),
      "2: expected no DOCTYPE (document types are not read)");
  EXPECT_EQ(error_of(file_of("  <suppress id=\"x\" owner=\"&owner;\" "
                             "reason=\"r\" expires=\"never\"/>\n")),
            "3: expected no entity but XML's five, found \"&owner;\"");
}

TEST(SuppressionFile, RefusesOtherElementsTextAndRoots) {
  EXPECT_EQ(error_of(file_of(kRule + "  <rule id=\"x\"/>\n")),
            "4: expected <suppress>, found <rule>");
  EXPECT_EQ(error_of(file_of("  hello\n")),
            "2: expected only <suppress> elements in <suppressions>, found "
            "text");
  EXPECT_EQ(error_of(kHead + "<rules version=\"1\"/>\n"),
            "2: expected <suppressions version=\"1\">, found <rules>");
  EXPECT_EQ(error_of(file_of("  <suppress id=\"x\" owner=\"o\" reason=\"r\" "
                             "expires=\"never\"><x/></suppress>\n")),
            "3: expected <suppress> to be empty");
}

TEST(SuppressionFile, RefusesAnotherVersionOrNone) {
  EXPECT_EQ(error_of(kHead + "<suppressions>\n</suppressions>\n"),
            "2: expected version=\"1\" on <suppressions>");
  EXPECT_EQ(error_of(kHead + "<suppressions version=\"1.0\"/>\n"),
            "2: expected version=\"1\" on <suppressions>, found \"1.0\"");
  EXPECT_EQ(error_of(kHead + "<suppressions version=\"1\" owner=\"x\"/>\n"),
            "2: expected only the attribute version on <suppressions>, found "
            "\"owner\"");
}

TEST(SuppressionFile, RefusesUnknownTwiceMissingAndEmptyAttributes) {
  EXPECT_EQ(error_of(file_of("  <suppress id=\"x\" owner=\"o\" reason=\"r\" "
                             "expires=\"never\" until=\"x\"/>\n")),
            "3: expected the attributes id, message, kind, nodes, owner, "
            "reason, expires and ticket on <suppress>, found \"until\"");
  EXPECT_EQ(error_of(file_of("  <suppress id=\"x\" owner=\"o\" reason=\"r\" "
                             "expires=\"never\" owner=\"p\"/>\n")),
            "3: expected the attribute owner once, found it again");
  EXPECT_EQ(error_of(file_of(kRule + "  <suppress id=\"x\" reason=\"r\" "
                                     "expires=\"never\"/>\n")),
            "4: expected the attribute owner on <suppress>");
  EXPECT_EQ(error_of(file_of("  <suppress owner=\"o\" reason=\"r\" "
                             "expires=\"never\"/>\n")),
            "3: expected the attribute id on <suppress>");
  EXPECT_EQ(error_of(file_of("  <suppress id=\"x\" owner=\"o\" "
                             "expires=\"never\"/>\n")),
            "3: expected the attribute reason on <suppress>");
  EXPECT_EQ(error_of(file_of("  <suppress id=\"x\" owner=\"o\" "
                             "reason=\"r\"/>\n")),
            "3: expected the attribute expires on <suppress>");
  EXPECT_EQ(error_of(file_of("  <suppress id=\"x\" owner=\"o\" reason=\"\" "
                             "expires=\"never\"/>\n")),
            "3: expected a value in the attribute reason, found \"\"");
}

TEST(SuppressionFile, RefusesBadDatesGlobsKindsAndHostLists) {
  auto const rule = [](std::string const& attributes) {
    return file_of("  <suppress owner=\"o\" reason=\"r\" " + attributes +
                   "/>\n");
  };
  std::string const date_error =
      "3: expected expires to be a date (2026-12-15), a date and time "
      "(2026-12-15T08:00:00Z, 2026-12-15T09:00:00+01:00) or never, found ";
  EXPECT_EQ(error_of(rule("id=\"x\" expires=\"2026-02-30\"")),
            date_error + "\"2026-02-30\"");
  EXPECT_EQ(error_of(rule("id=\"x\" expires=\"15.12.2026\"")),
            date_error + "\"15.12.2026\"");
  EXPECT_EQ(error_of(rule("id=\"x\" expires=\"2026-12-15T08:00:00\"")),
            date_error + "\"2026-12-15T08:00:00\"");
  EXPECT_EQ(error_of(rule("id=\"x\" expires=\"tomorrow\"")),
            date_error + "\"tomorrow\"");
  EXPECT_EQ(error_of(rule("id=\"gpu[0-3]\" expires=\"never\"")),
            "3: expected a glob of text, \"*\" and \"?\" in id, found "
            "\"gpu[0-3]\" (write \"?\" for \"[\")");
  EXPECT_EQ(error_of(rule("id=\"x\" message=\"a\\b\" expires=\"never\"")),
            "3: expected a glob of text, \"*\" and \"?\" in message, found "
            "\"a\\b\" (write \"?\" for \"\\\")");
  EXPECT_EQ(error_of(rule("id=\"x\" kind=\"alert\" expires=\"never\"")),
            "3: expected kind diagnosis, observation or "
            "secondary_observation, found \"alert\"");
  EXPECT_EQ(error_of(rule("id=\"x\" nodes=\"n[1-\" expires=\"never\"")),
            "3: expected \"]\" to close the \"[\" at character 2 of the host "
            "list \"n[1-\"");
}

// The first rule's 600,000 names leave 400,000 for the others.
TEST(SuppressionFile, BoundsTheNodesOfAllRules) {
  std::string const error = error_of(file_of(
      "  <suppress id=\"x\" nodes=\"n[1-600000]\" owner=\"o\" reason=\"r\" "
      "expires=\"never\"/>\n"
      "  <suppress id=\"y\" nodes=\"m[1-600000]\" owner=\"o\" reason=\"r\" "
      "expires=\"never\"/>\n"));
  EXPECT_EQ(error,
            "4: expected at most 400000 names, found more in the host list "
            "\"m[1-600000]\"");
}

TEST(ParseExpiry, TakesDatesTimesAndOffsets) {
  std::int64_t const day = 86400;
  std::int64_t const dec15 = std::int64_t{20802} * day;  // 2026-12-15
  EXPECT_EQ(parse_expiry("2026-12-15"), dec15 + day);
  EXPECT_EQ(parse_expiry("2026-12-15T08:00:00Z"), dec15 + 8 * 3600);
  EXPECT_EQ(parse_expiry("2026-12-15T09:00:00+01:00"), dec15 + 8 * 3600);
  EXPECT_EQ(parse_expiry("2026-12-15T06:30:00-01:30"), dec15 + 8 * 3600);
  EXPECT_EQ(parse_expiry("2028-02-29"), std::int64_t{21244} * day);
  EXPECT_EQ(parse_expiry("never"), std::nullopt);
  for (char const* bad :
       {"2026-13-01", "2027-02-29", "2026-12-15T24:00:00Z",
        "2026-12-15T08:00:00+24:00", "2026-12-15T08:00Z", "2026-12-15 ",
        "Never", "", "2026-12-15T08:00:00.5Z"}) {
    EXPECT_THROW(parse_expiry(bad), std::invalid_argument) << bad;
  }
}

TEST(ReadSuppressionFile, RefusesAFileOverSixteenMebibytes) {
  std::string const path = ::testing::TempDir() + "/big-suppressions.xml";
  {
    std::ofstream out(path);
    out << file_of(std::string(kMaxSuppressionFileSize, ' '));
  }
  try {
    read_suppression_file(path);
    FAIL() << "no error";
  } catch (InputError const& e) {
    EXPECT_EQ(e.place, "");
    EXPECT_EQ(std::string(e.what()),
              "expected at most 16777216 bytes of input, found " +
                  std::to_string(kMaxSuppressionFileSize + 82) + " bytes");
  }
  std::remove(path.c_str());
}

}  // namespace
}  // namespace cli
}  // namespace vesk

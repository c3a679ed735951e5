// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: document_loader_test.cpp
//
// The document loader on its own: which keys go into which Config fields,
// the definition tree built from a document, the byte order mark, and
// documents too big to keep in the repository. The bad input corpus runs
// through the whole program in app_test.cpp.

#include "cli/input/document_loader.hpp"

#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "support/temp_file.hpp"
#include "vesk/common/config.hpp"

#include <gtest/gtest.h>

namespace vesk {
namespace cli {
namespace {

using testing::TempFile;

// Loads `text`; returns the InputError's "place: what", or "" when it
// loaded.
std::string load_error(std::string const& text) {
  Config config;
  LoadedSettings settings;
  std::ostringstream warn;
  try {
    load_text(text, "doc", config, settings, warn);
  } catch (InputError const& e) {
    return e.place + ": " + e.what();
  }
  return "";
}

TEST(DocumentLoader, ReadsAHundredMegabyteMessage) {
  TempFile const file("big-message.json");
  std::string message(100u << 20, 'm');
  for (std::size_t i = 0; i < message.size(); i += 4099) {
    message[i] = static_cast<char>('a' + i % 26);
  }
  file.write(R"({"observations": [{"id": "x", "severity": 5, "message": ")" +
             message + "\"}]}");
  Config config;
  LoadedSettings settings;
  std::ostringstream warn;
  load_file(file.path(), "big", config, settings, warn);
  ASSERT_EQ(config.observations.size(), 1u);
  EXPECT_TRUE(config.observations[0]->message == message);
  EXPECT_EQ(warn.str(), "");
}

// A big document's bytes are given back while it is read; a syntax error
// after that still names the right line.
TEST(DocumentLoader, NamesTheLineOfALateErrorInABigDocument) {
  TempFile const file("late-error.json");
  std::string const line = "  \"" + std::string(100, 'n') + "1\",\n";
  std::size_t const lines = 20000;  // about 20 MB
  std::string text = "{\"nodes\": [\n";
  text.reserve(text.size() + line.size() * lines + 4);
  for (std::size_t i = 0; i < lines; ++i) text += line;
  text += "]}\n";
  file.write(text);
  Config config;
  LoadedSettings settings;
  std::ostringstream warn;
  try {
    load_file(file.path(), "late", config, settings, warn);
    ADD_FAILURE() << "no error";
  } catch (InputError const& e) {
    EXPECT_EQ(e.place, std::to_string(lines + 2) + ":1");
  }
}

TEST(DocumentLoader, BuildsTheDefinitionTree) {
  Config config;
  LoadedSettings settings;
  std::ostringstream warn;
  load_text(R"({"framework_definitions": [
      {"name": "/f/root.xml", "title": "Root", "children": [["/f/a.xml", "/f/b.xml"], ["/f/b.xml"]]},
      {"name": "/f/a.xml", "rules": ["r2", "r1"], "skipped": true},
      {"name": "/f/b.xml"},
      {"name": "/f/lone.xml"}]})",
            "tree", config, settings, warn);
  auto const& attributes = *config.fwd_attributes;
  EXPECT_EQ(attributes.fwd_name_order,
            (std::vector<std::string>{"/f/root.xml", "/f/a.xml", "/f/b.xml",
                                      "/f/lone.xml"}));
  auto const root = attributes.fwds.at("/f/root.xml");
  auto const a = attributes.fwds.at("/f/a.xml");
  auto const b = attributes.fwds.at("/f/b.xml");
  EXPECT_EQ(root->title, "Root");
  EXPECT_EQ(a->rule_names, (std::set<std::string>{"r1", "r2"}));
  EXPECT_TRUE(a->skipped);
  EXPECT_EQ(a->node, nullptr);  // no children
  ASSERT_NE(root->node, nullptr);
  EXPECT_EQ(root->node->fwd.lock(), root);
  ASSERT_EQ(root->node->branches.size(), 2u);
  ASSERT_EQ(root->node->branches[0].size(), 2u);
  EXPECT_EQ(root->node->branches[0][0]->fwd.lock(), a);
  EXPECT_EQ(root->node->branches[0][1]->fwd.lock(), b);
  EXPECT_EQ(root->node->branches[1][0], root->node->branches[0][1]);
  ASSERT_EQ(attributes.roots.size(), 2u);
  EXPECT_EQ(attributes.roots[0]->fwd.lock(), root);
  EXPECT_EQ(attributes.roots[1]->fwd.lock()->name, "/f/lone.xml");
}

TEST(DocumentLoader, ReadsNodesAndResults) {
  Config config;
  LoadedSettings settings;
  std::ostringstream warn;
  load_text(R"({"overall_pass": false, "severity_threshold": 40,
      "log_level": "notice", "config_text": "c", "name_list": ["x", "y"],
      "nodes": [{"name": "a", "hostname": "n1", "roles": ["compute"],
                 "groups": ["r2", "r1"]}, "n2"],
      "diagnoses": [{"id": "d#s", "message": "m", "remedy": "r",
                     "severity": 90, "nodes": ["n1", "n2"],
                     "suppressed": true, "row_ids": [3, 1, 3]}],
      "secondary_observations": [{"id": "o", "severity": 0}],
      "diagnosis_observations": {"d": ["o"]},
      "nested_map": {"a": {"b": ["c", "c"]}}})",
            "doc", config, settings, warn);
  EXPECT_FALSE(config.overall_pass);
  EXPECT_EQ(config.severity_threshold, 40);
  EXPECT_EQ(settings.log_level, "notice");
  EXPECT_EQ(config.config_text, "c");
  ASSERT_EQ(config.nodes.size(), 2u);
  EXPECT_EQ(config.nodes[0].name, "a");
  EXPECT_EQ(config.nodes[0].hostname, "n1");
  EXPECT_EQ(config.nodes[0].groups, (std::set<std::string>{"r1", "r2"}));
  EXPECT_EQ(config.nodes[1].name, "n2");
  EXPECT_EQ(config.nodes[1].hostname, "n2");
  ASSERT_EQ(config.diagnoses.size(), 1u);
  auto const& d = *config.diagnoses[0];
  EXPECT_EQ(d.id, "d#s");
  EXPECT_EQ(d.remedy, "r");
  EXPECT_EQ(d.severity, 90);
  EXPECT_TRUE(d.suppressed);
  EXPECT_EQ(d.row_ids, (std::set<std::int32_t>{1, 3}));
  ASSERT_EQ(config.secondary_observations.size(), 1u);
  EXPECT_EQ(config.secondary_observations[0]->message, "");
  EXPECT_EQ(config.nested_map.at("a").at("b"), (std::set<std::string>{"c"}));
  EXPECT_EQ(warn.str(), "");
}

// A UTF-8 byte order mark at the start is ignored; positions still count
// its three bytes.
TEST(DocumentLoader, ByteOrderMarkIsIgnored) {
  Config config;
  LoadedSettings settings;
  std::ostringstream warn;
  load_text("\xEF\xBB\xBF{\"nodes\": [\"n2\"]}", "piped", config, settings,
            warn);
  ASSERT_EQ(config.nodes.size(), 1u);
  EXPECT_EQ(config.nodes[0].hostname, "n2");
  try {
    Config broken;
    load_text("\xEF\xBB\xBF{\"nodes\" 1}", "piped", broken, settings, warn);
    ADD_FAILURE() << "no error";
  } catch (InputError const& e) {
    EXPECT_EQ(e.place, "1:13");
  }
}

TEST(DocumentLoader, LogLevelMustBeAKnownName) {
  EXPECT_EQ(load_error(R"({"log_level": "loud"})"),
            "log_level: expected one of alert, critical, debug, error, info, "
            "notice, warning");
  Config config;
  LoadedSettings settings;
  std::ostringstream warn;
  load_text(R"({"log_level": "alert"})", "doc", config, settings, warn);
  EXPECT_EQ(settings.log_level, "alert");
}

// The definition tree is checked once every definition is known, so a
// child may be named before it is defined; errors name the child's place.
TEST(DocumentLoader, DefinitionTreeErrorsNameTheirPlace) {
  EXPECT_EQ(load_error(R"({"framework_definitions": [
      {"name": "a", "children": [["b"]]}, {"name": "b"}]})"),
            "");
  EXPECT_EQ(load_error(R"({"framework_definitions": [
      {"name": "a", "children": [[], ["b", "c"]]}, {"name": "b"}]})"),
            "framework_definitions[0].children[1][1]: expected the name of a "
            "framework definition, found \"c\"");
  EXPECT_EQ(load_error(R"({"framework_definitions": [
      {"name": "a", "children": [["b"]]}, {"name": "b", "children": [["a"]]}]})"),
            "framework_definitions[1].children[0][0]: expected a definition "
            "tree without cycles, found \"a\" -> \"b\" -> \"a\"");
  EXPECT_EQ(load_error(R"({"framework_definitions": [{"name": "a"},
      {"title": "t", "name": "a"}]})"),
            "framework_definitions[1].name: expected a name not defined "
            "before, found \"a\" again");
}

TEST(DocumentLoader, UnreadableFileNamesNoPlace) {
  Config config;
  LoadedSettings settings;
  std::ostringstream warn;
  try {
    load_file("/nonexistent/doc.json", "doc", config, settings, warn);
    ADD_FAILURE() << "no error";
  } catch (InputError const& e) {
    EXPECT_EQ(e.place, "");
    EXPECT_STREQ(e.what(),
                 "expected a readable file (No such file or directory)");
  }
}

}  // namespace
}  // namespace cli
}  // namespace vesk

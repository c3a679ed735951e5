// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: sliced_loading_test.cpp
//
// Loading the result arrays in slices: the runs of elements noted by the
// first walk, their order and numbering, giving up on anything but a
// document that loads without a word, and load_file() giving the same
// Config, warnings and errors either way, for every document of the cli
// tests.

#include "cli/input/sliced_loading.hpp"

#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "cli/input/document_loader.hpp"
#include "cli/input/json_reader.hpp"
#include "support/temp_file.hpp"
#include "vesk/common/config.hpp"

#include <gtest/gtest.h>
#include <simdjson.h>

namespace vesk {
namespace cli {
namespace {

namespace ondemand = simdjson::ondemand;

// Sets the process's slicing settings for one test, and restores them.
class SlicingScope {
 public:
  SlicingScope(std::size_t min_bytes, std::size_t elements, int threads = 2)
      : saved_(slicing_settings()) {
    slicing_settings().min_bytes = min_bytes;
    slicing_settings().elements = elements;
    slicing_settings().threads = threads;
  }
  ~SlicingScope() { slicing_settings() = saved_; }
  SlicingScope(SlicingScope const&) = delete;
  SlicingScope& operator=(SlicingScope const&) = delete;

 private:
  SlicingSettings saved_;
};

using testing::TempFile;

std::string_view text_of(simdjson::padded_string const& bytes) {
  return std::string_view(bytes.data(), bytes.size());
}

// The first walk of `bytes`, as the loader makes it: the result arrays are
// noted in `slices`, everything else is skipped.
void first_walk(simdjson::padded_string const& bytes, ArraySlices& slices,
                ArraySlices::Results& observations,
                ArraySlices::Results& diagnoses) {
  std::ostringstream warn;
  std::string const label = "doc";
  JsonReader json(text_of(bytes), label, warn, false);
  ondemand::object root = json.open(bytes);
  json.for_each_member(root,
                       [&](std::string const& key, ondemand::value value) {
                         if (key == "observations") {
                           slices.defer(value, observations);
                         } else if (key == "diagnoses") {
                           slices.defer(value, diagnoses);
                         } else {
                           json.check_value(value);
                         }
                       });
  json.finish();
}

TEST(ArraySlices, LoadsRunsOfElementsInDocumentOrder) {
  SlicingScope const one_thread(0, 2, 1);  // the runs are noted in order
  simdjson::padded_string bytes(
      std::string(R"({"observations": [{"id": "a"}, {"id": "b"} ,{"id":"c"}],)"
                  "\n"
                  R"( "x": 1, "diagnoses": [ {"id": "d"} ], "y": []})"));
  ArraySlices slices(text_of(bytes), 2);
  ArraySlices::Results observations;
  ArraySlices::Results diagnoses;
  first_walk(bytes, slices, observations, diagnoses);

  // Each run: its first number, then the ids of its elements.
  std::vector<std::string> runs;
  slices.load(
      bytes.data(), false,
      [&](JsonReader& json, ondemand::value& array, std::int64_t first_sequence,
          ArraySlices::Results& list) {
        std::string run = std::to_string(first_sequence) + ":";
        json.for_each_element(array, "results", [&](ondemand::value item) {
          json.for_each_member(item, "a result",
                               [&](std::string const&, ondemand::value id) {
                                 run += json.get_string(id);
                               });
          list.push_back(std::make_shared<AnalysisOutput>());
        });
        runs.push_back(run);
      });
  EXPECT_EQ(runs, (std::vector<std::string>{"0:ab", "2:c", "3:d"}));
  EXPECT_EQ(observations.size(), 3u);
  EXPECT_EQ(diagnoses.size(), 1u);
  EXPECT_FALSE(slices.released());
}

TEST(ArraySlices, GivesUpOnAnElementThatIsNotAnObject) {
  simdjson::padded_string const bytes(
      std::string(R"({"observations": [{"id": "a"}, 7]})"));
  ArraySlices slices(text_of(bytes), 2);
  ArraySlices::Results observations;
  ArraySlices::Results diagnoses;
  EXPECT_THROW(first_walk(bytes, slices, observations, diagnoses),
               SlicingAbandoned);
}

TEST(ArraySlices, GivesUpOnAResultArrayThatIsNotAnArray) {
  simdjson::padded_string const bytes(
      std::string(R"({"diagnoses": {"id": "a"}})"));
  ArraySlices slices(text_of(bytes), 2);
  ArraySlices::Results observations;
  ArraySlices::Results diagnoses;
  EXPECT_THROW(first_walk(bytes, slices, observations, diagnoses),
               SlicingAbandoned);
}

TEST(ArraySlices, GivesUpOnAWarningInASlice) {
  simdjson::padded_string bytes(
      std::string(R"({"observations": [{"id": "a"}]})"));
  ArraySlices slices(text_of(bytes), 2);
  ArraySlices::Results observations;
  ArraySlices::Results diagnoses;
  first_walk(bytes, slices, observations, diagnoses);
  EXPECT_THROW(
      slices.load(bytes.data(), false,
                  [&](JsonReader& json, ondemand::value& array, std::int64_t,
                      ArraySlices::Results& list) {
                    json.for_each_element(
                        array, "results", [&](ondemand::value item) {
                          json.check_value(item);
                          list.push_back(std::make_shared<AnalysisOutput>());
                        });
                    json.warn("a word");
                  }),
      SlicingAbandoned);
}

// Everything load_file() makes of a document, as text: the error, or the
// warnings and every Config field the loader fills.
std::string describe_load(std::string const& path) {
  Config config;
  LoadedSettings settings;
  std::ostringstream warn;
  std::ostringstream out;
  try {
    load_file(path, "doc", config, settings, warn);
  } catch (InputError const& e) {
    return "error " + e.place + ": " + e.what() + "\n";
  }
  out << warn.str() << "pass " << config.overall_pass << " threshold "
      << config.severity_threshold << " level "
      << settings.log_level.value_or("-") << "\ntext " << config.config_text
      << "\nnames";
  for (auto const& name : config.name_list) out << " " << name;
  for (Node const& node : config.nodes) {
    out << "\nnode " << node.name << " " << node.hostname;
    for (auto const& role : node.roles) out << " r:" << role;
    for (auto const& group : node.groups) out << " g:" << group;
  }
  for (auto const& name : config.fwd_attributes->fwd_name_order) {
    Fwd const& fwd = *config.fwd_attributes->fwds.at(name);
    out << "\nfwd " << fwd.name << " " << fwd.title << " " << fwd.skipped;
    for (auto const& rule : fwd.rule_names) out << " " << rule;
  }
  out << "\nroots " << config.fwd_attributes->roots.size();
  for (auto const& [outer, level] : config.nested_map) {
    for (auto const& [key, set] : level) {
      out << "\nnested " << outer << " " << key;
      for (auto const& item : set) out << " " << item;
    }
  }
  for (auto const* map :
       {&config.diagnosis_observations, &config.observation_signs}) {
    for (auto const& [key, list] : *map) {
      out << "\nlist " << key;
      for (auto const& item : list) out << " " << item;
    }
  }
  for (auto const* list : {&config.diagnoses, &config.observations,
                           &config.secondary_observations}) {
    out << "\nresults";
    for (auto const& result : *list) {
      out << "\n  " << result->sequence << " " << result->id << " | "
          << result->message << " | " << result->remedy << " | "
          << result->severity << " " << result->suppressed;
      for (auto const& node : result->nodes) out << " n:" << node;
      for (auto const row : result->row_ids) out << " r:" << row;
    }
  }
  return out.str() + "\n";
}

std::vector<std::string> test_documents() {
  std::string const dir = VESK_CLI_TEST_DIR;
  std::vector<std::string> paths = {dir + "/../../examples/demo-cluster.json"};
  for (char const* folder : {"/bad", "/inputs"}) {
    for (auto const& entry :
         std::filesystem::directory_iterator(dir + folder)) {
      paths.push_back(entry.path().string());
    }
  }
  return paths;
}

TEST(SlicedLoading, GivesWhatOneWalkGivesForEveryTestDocument) {
  std::size_t sliced = 0;
  for (std::string const& path : test_documents()) {
    std::string one_walk;
    {
      SlicingScope const scope(std::numeric_limits<std::size_t>::max(), 1);
      one_walk = describe_load(path);
    }
    for (std::size_t elements : {1, 2, 4096}) {
      SlicingScope const scope(0, elements, elements == 2 ? 1 : 2);
      std::size_t const before = slicing_settings().sliced_loads;
      EXPECT_EQ(describe_load(path), one_walk)
          << path << " in slices of " << elements;
      sliced += slicing_settings().sliced_loads - before;
    }
  }
  // The documents without a word are loaded in slices, not again in one
  // walk: the demo and the passing and threshold documents at least, each
  // three times.
  EXPECT_GE(sliced, 9u);
}

// A result array of `count` results, one a line, then `tail`.
std::string big_document(std::size_t count, std::string const& last,
                         std::string const& tail) {
  std::string text = "{\"observations\": [\n";
  for (std::size_t i = 0; i + 1 < count; ++i) {
    text += R"({"id": "obs-)" + std::to_string(i) +
            R"(", "severity": 50, "nodes": ["n)" + std::to_string(i % 100) +
            R"("], "message": "a message long enough to fill a line"},)"
            "\n";
  }
  return text + last + "\n]" + tail + "}\n";
}

TEST(SlicedLoading, LoadsABigDocumentInSlices) {
  SlicingScope const scope(0, 1000);
  TempFile const file("sliced-good.json");
  std::size_t const count = 100000;  // about 11 MB
  file.write(big_document(count, R"({"id": "last", "severity": 1})", ""));
  std::size_t const before = slicing_settings().sliced_loads;
  Config config;
  LoadedSettings settings;
  std::ostringstream warn;
  load_file(file.path(), "big", config, settings, warn);
  EXPECT_EQ(slicing_settings().sliced_loads, before + 1);
  ASSERT_EQ(config.observations.size(), count);
  EXPECT_EQ(config.observations[54321]->id, "obs-54321");
  EXPECT_EQ(config.observations[54321]->sequence, 54321);
  EXPECT_EQ(config.observations.back()->id, "last");
  EXPECT_EQ(warn.str(), "");
}

// The pages already walked are given back while slices load; a late
// problem is then found by a walk of the file read again, which names it
// exactly.
TEST(SlicedLoading, NamesALateProblemOfABigDocumentExactly) {
  SlicingScope const scope(0, 1000);
  TempFile const file("sliced-late.json");
  std::size_t const count = 100000;
  file.write(big_document(count, R"({"id": "last", "severity": "high"})", ""));
  Config config;
  LoadedSettings settings;
  std::ostringstream warn;
  try {
    load_file(file.path(), "big", config, settings, warn);
    ADD_FAILURE() << "no error";
  } catch (InputError const& e) {
    EXPECT_EQ(e.place, "observations[99999].severity");
    EXPECT_EQ(std::string(e.what()),
              "expected an integer from -2147483648 to 2147483647");
  }

  // A warning late in the arrays comes after the first walk's warnings.
  file.write(big_document(count, R"({"id": "last", "severity": 101})",
                          R"(, "colour": "red")"));
  Config again;
  LoadedSettings settings_again;
  std::ostringstream warnings;
  load_file(file.path(), "big", again, settings_again, warnings);
  EXPECT_EQ(warnings.str(),
            "vesk-report: big:observations[99999].severity: warning: "
            "severity 101 is outside 0..100; kept as given\n"
            "vesk-report: big:colour: warning: unknown key ignored\n");
  EXPECT_EQ(again.observations.size(), count);

  // A syntax error inside the last result (a missing comma, which the first
  // walk skips over) names its line and column.
  file.write(big_document(count, R"({"id": "last" "severity": 1})", ""));
  Config third;
  LoadedSettings settings_third;
  std::ostringstream warn_third;
  try {
    load_file(file.path(), "big", third, settings_third, warn_third);
    ADD_FAILURE() << "no error";
  } catch (InputError const& e) {
    std::string one_walk;
    {
      SlicingScope const single(std::numeric_limits<std::size_t>::max(), 1);
      one_walk = describe_load(file.path());
    }
    EXPECT_EQ("error " + e.place + ": " + e.what() + "\n", one_walk);
    EXPECT_EQ(e.place.substr(0, e.place.find(':')), std::to_string(count + 1));
  }
}

}  // namespace
}  // namespace cli
}  // namespace vesk

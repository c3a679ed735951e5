// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Randomised differential tests: thousands of small seeded runs, each done
// once by the library and once by the literal oracle, comparing every record,
// count, link, definition flag and count, return code, standard-error text
// and the band table left behind. The cases are drawn so that every branch
// is met: ids with and without sub-ids, provider errors, severities outside
// 0..100, every threshold that sits on or next to a band edge, suppressed
// results, repeated signs and triggers, missing table entries, and
// definition trees with shared children and empty branches.

#include <iostream>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "oracle/compare.hpp"
#include "oracle/fixtures.hpp"
#include "oracle/oracle.hpp"
#include "vesk/common/str.hpp"
#include "vesk/postprocessor/utility_functions.hpp"

#include "gtest/gtest.h"

namespace vesk {
namespace {

using postprocessor::PostprocessorExtensionData;
using postprocessor::severity_bands;
using postprocessor::Type;
using postprocessor::UtilityFunctions;
using Bands =
    std::map<std::string, std::tuple<int, int, postprocessor::Severity>>;

// Restores the band table when the test ends.
class ScopedBands {
 public:
  ScopedBands() : saved_(severity_bands) {}
  ~ScopedBands() { severity_bands = saved_; }
  Bands const& saved() const { return saved_; }

 private:
  Bands saved_;
};

// Collects what is written to std::cerr while it lives. Cheaper than
// gtest's capture of file descriptor 2, which matters over thousands of runs;
// every message of the pipeline goes through std::cerr.
// Case counts: enough to reach every branch many times over, small enough
// for a second or two in an instrumented debug build.
constexpr std::uint64_t kWholeRuns = 1200;
constexpr std::uint64_t kSingleStepRuns = 700;
constexpr std::uint64_t kCollapsingRuns = 1000;

class StderrCapture {
 public:
  StderrCapture() : saved_(std::cerr.rdbuf(text_.rdbuf())) {}
  ~StderrCapture() { std::cerr.rdbuf(saved_); }
  std::string text() const { return text_.str(); }

 private:
  std::ostringstream text_;
  std::streambuf* saved_;
};

class CaseMaker {
 public:
  explicit CaseMaker(std::uint64_t seed) : rng_(seed) {}

  int below(int n) {
    return static_cast<int>(rng_() % static_cast<unsigned>(n));
  }
  bool chance(int percent) { return below(100) < percent; }
  template <typename T>
  T const& pick(std::vector<T> const& from) {
    return from[static_cast<std::size_t>(below(static_cast<int>(from.size())))];
  }

  Config make() {
    Config config;
    static std::vector<int> const kThresholds = {-1, 0,  24,  25, 50,
                                                 74, 75, 100, 101};
    config.severity_threshold = pick(kThresholds);
    config.overall_pass = chance(50);
    config.config_text = "case";
    config.name_list = {"a", "b"};
    config.nodes = {{"n1", "node1", {}, {}}, {"n2", "node2", {}, {}}};

    // Definitions: children only of later definitions, so the tree has no
    // cycles; a child may sit under several parents.
    int const definitions = below(6);
    std::vector<std::shared_ptr<Fwd>> fwds;
    for (int i = 0; i < definitions; ++i) {
      auto fwd = std::make_shared<Fwd>();
      fwd->name = "/f/f" + std::to_string(i) + ".xml";
      fwd->title = chance(80) ? "F" + std::to_string(i) : "";
      for (int r = 0; r < 6; ++r) {
        if (chance(25)) fwd->rule_names.insert("r" + std::to_string(r));
      }
      fwd->node = chance(85) ? std::make_shared<FwdNode>() : nullptr;
      if (fwd->node) fwd->node->fwd = fwd;
      fwds.push_back(fwd);
      config.fwd_attributes->fwds[fwd->name] = fwd;
      config.fwd_attributes->fwd_name_order.push_back(fwd->name);
    }
    for (int i = 0; i < definitions; ++i) {
      auto& node = fwds[static_cast<std::size_t>(i)]->node;
      if (!node) continue;
      int const branches = below(3);
      for (int b = 0; b < branches; ++b) {
        node->branches.emplace_back();
        for (int j = i + 1; j < definitions; ++j) {
          auto const& child = fwds[static_cast<std::size_t>(j)];
          if (child->node && chance(35)) {
            node->branches.back().push_back(child->node);
          }
        }
      }
    }

    // Ids.
    static std::vector<std::string> const kSubs = {"", "", "#a", "#b"};
    std::vector<std::string> obs_ids, diag_ids;
    for (int i = 0; i < 4; ++i) {
      obs_ids.push_back("o" + std::to_string(i));
      diag_ids.push_back("d" + std::to_string(i));
    }
    obs_ids.push_back("provider-error-code#p1");
    obs_ids.push_back("provider-error-code#p2");
    obs_ids.push_back("provider-error-code");

    auto make_output = [&](bool diagnosis) {
      auto output = std::make_shared<AnalysisOutput>();
      std::string base = diagnosis ? pick(diag_ids) : pick(obs_ids);
      output->id =
          base.rfind("provider-error-code", 0) == 0 ? base : base + pick(kSubs);
      static std::vector<int> const kSeverities = {0,  5,  24, 25, 30,
                                                   31, 74, 75, 90, 100};
      output->severity = chance(6) ? below(111) - 5 : pick(kSeverities);
      output->message = chance(70) ? "m0" : "m1";
      output->remedy = "r" + std::to_string(below(3));
      output->suppressed = chance(12);
      int const nodes = below(3);
      for (int n = 0; n < nodes; ++n) {
        output->nodes.push_back("node" + std::to_string(below(5)));
      }
      output->row_ids.insert(below(20));
      return output;
    };
    for (int i = below(7); i > 0; --i)
      config.diagnoses.push_back(make_output(true));
    for (int i = below(8); i > 0; --i)
      config.observations.push_back(make_output(false));
    for (int i = below(6); i > 0; --i) {
      config.secondary_observations.push_back(make_output(false));
    }

    // Tables, with a few entries left out and signs repeated.
    std::vector<std::string> sign_pool = {"r0", "r1", "r2", "r3",
                                          "r4", "r5", "zz"};
    for (auto const& fwd : fwds) sign_pool.push_back(fwd->name);
    int const missing = chance(30) ? 12 : 0;
    for (auto const& base : obs_ids) {
      if (chance(missing)) continue;
      std::vector<std::string> signs;
      for (int s = below(4); s > 0; --s) signs.push_back(pick(sign_pool));
      if (!signs.empty() && chance(15)) signs.push_back(signs.front());
      config.observation_signs[base] = signs;
    }
    // An entry under an id with its sub-id, which lookups never use: the
    // sign table is keyed by the sub-id-free form.
    if (chance(20)) config.observation_signs["o0#a"] = {pick(sign_pool)};
    std::vector<std::string> trigger_pool = {"o0",
                                             "o1",
                                             "o2",
                                             "o3",
                                             "d0",
                                             "d1",
                                             "d2",
                                             "d3",
                                             "provider-error-code#p1",
                                             "provider-error-code",
                                             "o9"};
    for (auto const& base : diag_ids) {
      if (chance(missing)) continue;
      std::vector<std::string> triggers;
      for (int t = below(5); t > 0; --t) triggers.push_back(pick(trigger_pool));
      if (!triggers.empty() && chance(20)) triggers.push_back(triggers.front());
      config.diagnosis_observations[base] = triggers;
    }
    return config;
  }

 private:
  std::mt19937_64 rng_;
};

struct SideRun {
  int rc = 0;
  std::string err;
  Bands bands_after;
  PostprocessorExtensionData data;
  Config config;
};

template <typename F>
void run_side(Config const& config, Bands const& start, SideRun& run, F fill) {
  severity_bands = start;
  run.config = oracle::with_own_definitions(config);
  {
    StderrCapture capture;
    run.rc = fill(run.config, run.data);
    run.err = capture.text();
  }
  run.bands_after = severity_bands;
}

std::string bands_text(Bands const& bands) {
  std::string text;
  for (auto const& [name, row] : bands) {
    text += "[" + name + " " + std::to_string(std::get<0>(row)) + " " +
            std::to_string(std::get<1>(row)) + " " +
            std::to_string(std::get<2>(row)) + "]";
  }
  return text;
}

TEST(PipelineDifferential, ApiExamples) {
  ScopedBands bands;
  CaseMaker maker(7);
  Config config = maker.make();
  SideRun lib, ref;
  oracle::ScopedLinks lib_links(lib.data), ref_links(ref.data);
  run_side(config, bands.saved(), lib,
           [](Config const& c, PostprocessorExtensionData& d) {
             return UtilityFunctions().fillOutputData(c, d);
           });
  run_side(config, bands.saved(), ref,
           [](Config const& c, PostprocessorExtensionData& d) {
             return oracle::fillOutputData(c, d);
           });
  EXPECT_EQ(lib.rc, ref.rc);
  EXPECT_EQ(lib.err, ref.err);
  EXPECT_EQ(oracle::compare_records(lib.data, ref.data), "");
}

TEST(PipelineDifferential, WholeRunsAgree) {
  ScopedBands bands;
  int failures = 0, errors = 0;
  std::map<std::string, int> messages;  // how often each error was met
  int grown_tables = 0;
  for (std::uint64_t seed = 1; seed <= kWholeRuns; ++seed) {
    CaseMaker maker(seed);
    Config config = maker.make();
    Bands start = bands.saved();
    if (maker.chance(20)) start[""] = {0, 0, postprocessor::INFORMATIONAL};
    if (maker.chance(15)) {
      // A name that the lower-cased band name misses: counting adds a row
      // of zeros while the definitions are being filled, and every later
      // definition walks the grown table.
      start.erase("warning");
      start["Warning"] = {25, 74, postprocessor::WARNING};
    }
    SideRun lib, ref;
    oracle::ScopedLinks lib_links(lib.data), ref_links(ref.data);
    run_side(config, start, lib,
             [](Config const& c, PostprocessorExtensionData& d) {
               return UtilityFunctions().fillOutputData(c, d);
             });
    run_side(config, start, ref,
             [](Config const& c, PostprocessorExtensionData& d) {
               return oracle::fillOutputData(c, d);
             });
    severity_bands = bands.saved();
    std::string diff = oracle::compare_records(lib.data, ref.data);
    std::string fwd_diff = oracle::compare_definitions(
        *lib.config.fwd_attributes, *ref.config.fwd_attributes);
    bool const same = lib.rc == ref.rc && lib.err == ref.err && diff.empty() &&
                      fwd_diff.empty() && lib.bands_after == ref.bands_after;
    EXPECT_TRUE(same) << "seed " << seed << "\nrc " << lib.rc << " vs "
                      << ref.rc << "\nerr [" << lib.err << "] vs [" << ref.err
                      << "]\n"
                      << diff << "\n"
                      << fwd_diff << "\n"
                      << bands_text(lib.bands_after) << " vs "
                      << bands_text(ref.bands_after);
    if (!same && ++failures > 5) break;
    if (ref.rc != 0) ++errors;
    if (ref.bands_after.size() > start.size()) ++grown_tables;
    for (char const* text :
         {"Error mapping observation", "to the signs that triggered"}) {
      if (ref.err.find(text) != std::string::npos) ++messages[text];
    }
  }
  // The cases reach both outcomes and both errors of the sorting step (a
  // diagnosis that sorting could map cannot fail later).
  EXPECT_GT(errors, 50);
  EXPECT_GT(messages["Error mapping observation"], 5);
  EXPECT_GT(messages["to the signs that triggered"], 5);
  EXPECT_GT(grown_tables, 5);
}

// Collapsed groups without links, made the same way on two records.
// `extras` adds records that collapsing never makes: raw results outside
// every band placed in an observation group.
using Extras =
    std::vector<std::pair<unsigned, std::shared_ptr<AnalysisOutput>>>;
void prepare(Config const& config, PostprocessorExtensionData& data,
             Extras const& extras) {
  data.severity_threshold =
      config.severity_threshold == -1 ? 25 : config.severity_threshold;
  data.fwd_attributes = config.fwd_attributes;
  data.diagnosis_observations =
      std::make_shared<std::map<std::string, std::vector<std::string>>>(
          config.diagnosis_observations);
  data.observation_signs =
      std::make_shared<std::map<std::string, std::vector<std::string>>>(
          config.observation_signs);
  postprocessor::SortedOutputs groups;
  for (auto const& [name, band] : severity_bands) {
    auto const& [lowest, highest, severity] = band;
    unsigned base = (lowest >= data.severity_threshold ? 16u : 0u) |
                    static_cast<unsigned>(severity);
    oracle::severity_collapse(data, config.diagnoses, groups[(base | 0u) & 31u],
                              lowest, highest, postprocessor::DIAGNOSIS);
    oracle::severity_collapse(data, config.observations,
                              groups[(base | 1u) & 31u], lowest, highest,
                              postprocessor::OBSERVATION);
    oracle::severity_collapse(data, config.secondary_observations,
                              groups[(base | 2u) & 31u], lowest, highest,
                              postprocessor::SECONDARY_OBSERVATION);
  }
  for (auto const& [key, raw] : extras) {
    CollapsedAnalysisOutput record;
    record.outputs.push_back(raw);
    record.type = static_cast<Type>(key & 3u);
    groups[key].push_back(std::make_shared<CollapsedAnalysisOutput>(record));
  }
  data.sorted_outputs = std::make_shared<postprocessor::SortedOutputs>(groups);
}

std::vector<std::shared_ptr<CollapsedAnalysisOutput>> all_outputs(
    PostprocessorExtensionData const& data) {
  std::vector<std::shared_ptr<CollapsedAnalysisOutput>> result;
  for (auto const& [key, group] : *data.sorted_outputs) {
    result.insert(result.end(), group.begin(), group.end());
  }
  return result;
}

// The single steps, called one by one as a host may call them, with
// arguments the pipeline itself never passes (a kind that is not the
// record's own, non-empty result lists, fwd_names already filled).
TEST(PipelineDifferential, SingleStepsAgree) {
  ScopedBands bands;
  UtilityFunctions uf;
  int failures = 0, grown_tables = 0;
  std::map<std::string, int> messages;  // how often each error was met
  std::map<std::string, int> outcomes;  // how often each step gave 0 or 1
  for (std::uint64_t seed = 1; seed <= kSingleStepRuns && failures < 5;
       ++seed) {
    CaseMaker maker(seed * 7919);
    Config config = maker.make();
    Bands start = bands.saved();
    if (maker.chance(20)) start[""] = {0, 0, postprocessor::INFORMATIONAL};
    severity_bands = start;
    Config config_a = oracle::with_own_definitions(config);
    Config config_b = oracle::with_own_definitions(config);
    Extras extras;
    for (int i = maker.chance(30) ? maker.below(3) + 1 : 0; i > 0; --i) {
      auto raw = std::make_shared<AnalysisOutput>();
      raw->id = maker.chance(50) ? "o1" : "provider-error-code#p1";
      raw->severity =
          maker.chance(50) ? -1 - maker.below(5) : 101 + maker.below(5);
      raw->message = "m0";
      static std::vector<unsigned> const kKeys = {1,  2,  5,  6,  9,  10,
                                                  17, 18, 21, 22, 25, 26};
      extras.emplace_back(maker.pick(kKeys), raw);
    }
    PostprocessorExtensionData a, b;
    oracle::ScopedLinks links_a(a), links_b(b);
    prepare(config_a, a, extras);
    prepare(config_b, b, extras);
    auto outputs_a = all_outputs(a);
    auto outputs_b = all_outputs(b);
    ASSERT_EQ(outputs_a.size(), outputs_b.size());
    std::string trace = "seed " + std::to_string(seed * 7919);

    for (int step = 0; step < 12 && !outputs_a.empty(); ++step) {
      std::size_t const which = static_cast<std::size_t>(
          maker.below(static_cast<int>(outputs_a.size())));
      auto const type = static_cast<Type>(maker.below(3));
      auto const& fwds_a = a.fwd_attributes->fwds;
      auto const& fwds_b = b.fwd_attributes->fwds;
      int const action = maker.below(7);
      std::string err_a, err_b;
      int rc_a = 0, rc_b = 0;
      std::string what;
      if (action == 0) {
        what = "PopulateCollapsedOutput";
        {
          StderrCapture capture;
          rc_a = uf.PopulateCollapsedOutput(outputs_a[which], type, a);
          err_a = capture.text();
        }
        {
          StderrCapture capture;
          rc_b = oracle::PopulateCollapsedOutput(outputs_b[which], type, b);
          err_b = capture.text();
        }
      } else if (action == 1) {
        what = "GetOutputFWD";
        {
          StderrCapture capture;
          rc_a = uf.GetOutputFWD(outputs_a[which], type, a);
          err_a = capture.text();
        }
        {
          StderrCapture capture;
          rc_b = oracle::GetOutputFWD(outputs_b[which], type, b);
          err_b = capture.text();
        }
      } else if (action == 2) {
        what = "DiagnosisMapping";
        std::vector<std::shared_ptr<CollapsedAnalysisOutput>> ra, rb;
        if (maker.chance(30)) {
          ra.push_back(outputs_a[0]);
          rb.push_back(outputs_b[0]);
        }
        {
          StderrCapture capture;
          rc_a = uf.DiagnosisMapping(outputs_a[which], a, ra, type);
          err_a = capture.text();
        }
        {
          StderrCapture capture;
          rc_b = oracle::DiagnosisMapping(outputs_b[which], b, rb, type);
          err_b = capture.text();
        }
        EXPECT_EQ(oracle::compare_lists(ra, a, rb, b), "")
            << trace << " " << what;
      } else if (action == 3 && !fwds_a.empty()) {
        what = "ObservationFromFWD";
        auto ia = fwds_a.begin();
        auto ib = fwds_b.begin();
        for (int k = maker.below(static_cast<int>(fwds_a.size())); k > 0; --k) {
          ++ia;
          ++ib;
        }
        bool found_a = maker.chance(50), found_b = found_a;
        {
          StderrCapture capture;
          rc_a =
              uf.ObservationFromFWD(outputs_a[which], *ia->second, a, found_a);
          err_a = capture.text();
        }
        {
          StderrCapture capture;
          rc_b = oracle::ObservationFromFWD(outputs_b[which], *ib->second, b,
                                            found_b);
          err_b = capture.text();
        }
        EXPECT_EQ(found_a, found_b) << trace << " " << what;
      } else if (action == 4 && !fwds_a.empty()) {
        what = "FWDObservations";
        auto ia = fwds_a.begin();
        auto ib = fwds_b.begin();
        for (int k = maker.below(static_cast<int>(fwds_a.size())); k > 0; --k) {
          ++ia;
          ++ib;
        }
        std::vector<std::shared_ptr<CollapsedAnalysisOutput>> ra, rb;
        if (maker.chance(40)) {
          ra.push_back(outputs_a[which]);
          rb.push_back(outputs_b[which]);
        }
        {
          StderrCapture capture;
          rc_a = uf.FWDObservations(*ia->second, a, ra);
          err_a = capture.text();
        }
        {
          StderrCapture capture;
          rc_b = oracle::FWDObservations(*ib->second, b, rb);
          err_b = capture.text();
        }
        EXPECT_EQ(oracle::compare_lists(ra, a, rb, b), "")
            << trace << " " << what;
      } else if (action == 5 && !fwds_a.empty()) {
        what = "PopulateFWD";
        auto ia = fwds_a.begin();
        auto ib = fwds_b.begin();
        for (int k = maker.below(static_cast<int>(fwds_a.size())); k > 0; --k) {
          ++ia;
          ++ib;
        }
        Bands before = severity_bands;
        {
          StderrCapture capture;
          rc_a = uf.PopulateFWD(*ia->second, a);
          err_a = capture.text();
        }
        Bands after_a = severity_bands;
        severity_bands = before;
        {
          StderrCapture capture;
          rc_b = oracle::PopulateFWD(*ib->second, b);
          err_b = capture.text();
        }
        EXPECT_EQ(after_a, severity_bands) << trace << " " << what;
        if (severity_bands.size() > before.size()) ++grown_tables;
      } else if (action == 6) {
        what = "map_sign";
        // An output's id as it is, without its sub-id, or an id that no
        // table holds; the list starts empty or with an entry to replace.
        std::string id = outputs_a[which]->get_id();
        int const form = maker.below(3);
        if (form == 1) id = str::remove_sub_id(id);
        if (form == 2) id = "absent";
        std::vector<std::string> signs_a, signs_b;
        if (maker.chance(50)) {
          signs_a.push_back("old");
          signs_b.push_back("old");
        }
        {
          StderrCapture capture;
          rc_a = uf.map_sign(id, signs_a, a);
          err_a = capture.text();
        }
        {
          StderrCapture capture;
          rc_b = oracle::map_sign(id, signs_b, b);
          err_b = capture.text();
        }
        EXPECT_EQ(signs_a, signs_b) << trace << " " << what << " " << id;
      } else {
        continue;
      }
      for (char const* text :
           {"Error mapping observation", "to the signs that triggered",
            "to the observation(s) that triggered"}) {
        if (err_b.find(text) != std::string::npos) ++messages[text];
      }
      ++outcomes[what + (rc_b == 0 ? " returned 0" : " returned 1")];
      if (action >= 4 &&
          err_b.find("Error mapping observation") != std::string::npos) {
        ++messages["observation error in a definition's list"];
      }
      bool same = rc_a == rc_b && err_a == err_b;
      EXPECT_TRUE(same) << trace << " " << what << " rc " << rc_a << " vs "
                        << rc_b << " err [" << err_a << "] vs [" << err_b
                        << "]";
      std::string diff = oracle::compare_records(a, b);
      std::string fwd_diff =
          oracle::compare_definitions(*a.fwd_attributes, *b.fwd_attributes);
      EXPECT_EQ(diff, "") << trace << " " << what;
      EXPECT_EQ(fwd_diff, "") << trace << " " << what;
      if (!same || !diff.empty() || !fwd_diff.empty()) {
        ++failures;
        break;
      }
    }
    severity_bands = bands.saved();
  }
  // Out-of-range severities reached the band table's "" row, and each of
  // the three error lines was met.
  EXPECT_GT(grown_tables, 5);
  EXPECT_GT(messages["Error mapping observation"], 5);
  EXPECT_GT(messages["to the signs that triggered"], 5);
  EXPECT_GT(messages["to the observation(s) that triggered"], 5);
  EXPECT_GT(messages["observation error in a definition's list"], 5);
  // Every single step both succeeded and failed, each many times.
  for (char const* step :
       {"PopulateCollapsedOutput", "GetOutputFWD", "DiagnosisMapping",
        "ObservationFromFWD", "FWDObservations", "PopulateFWD", "map_sign"}) {
    EXPECT_GT(outcomes[std::string(step) + " returned 0"], 5) << step;
    EXPECT_GT(outcomes[std::string(step) + " returned 1"], 5) << step;
  }
}

// Collapsing into vectors that already hold records, some of another kind.
TEST(PipelineDifferential, CollapsingIntoFilledVectorsAgrees) {
  UtilityFunctions uf;
  for (std::uint64_t seed = 1; seed <= kCollapsingRuns; ++seed) {
    CaseMaker maker(seed * 104729);
    Config config = maker.make();
    std::vector<std::shared_ptr<AnalysisOutput>> raw = config.observations;
    raw.insert(raw.end(), config.diagnoses.begin(), config.diagnoses.end());
    // Two equal starting vectors of distinct records.
    std::vector<std::shared_ptr<CollapsedAnalysisOutput>> va, vb;
    for (int i = maker.below(4); i > 0 && !raw.empty(); --i) {
      CollapsedAnalysisOutput record;
      record.outputs.push_back(maker.pick(raw));
      record.type = static_cast<Type>(maker.below(3));
      va.push_back(std::make_shared<CollapsedAnalysisOutput>(record));
      vb.push_back(std::make_shared<CollapsedAnalysisOutput>(record));
    }
    std::vector<std::shared_ptr<AnalysisOutput>> input;
    for (int i = maker.below(8); i > 0 && !raw.empty(); --i) {
      input.push_back(maker.pick(raw));
    }
    auto const type = static_cast<Type>(maker.below(3));
    int const lo = maker.below(111) - 5, hi = maker.below(111) - 5;
    PostprocessorExtensionData a, b;
    a.severity_threshold = b.severity_threshold = maker.below(103) - 1;
    if (maker.chance(50)) {
      uf.severity_collapse(a, input, va, lo, hi, type);
      oracle::severity_collapse(b, input, vb, lo, hi, type);
    } else {
      uf.CollapseAnalysisOutputs(input, va, a, type);
      oracle::CollapseAnalysisOutputs(input, vb, b, type);
    }
    ASSERT_EQ(va.size(), vb.size()) << "seed " << seed;
    for (std::size_t i = 0; i < va.size(); ++i) {
      EXPECT_EQ(va[i]->outputs, vb[i]->outputs) << "seed " << seed;
      EXPECT_EQ(va[i]->type, vb[i]->type) << "seed " << seed << " at " << i;
    }
    EXPECT_EQ(a.suppressed_count, b.suppressed_count);
    EXPECT_EQ(a.group_counts, b.group_counts) << "seed " << seed;
    EXPECT_EQ(!a.affected_nodes, !b.affected_nodes);
    if (a.affected_nodes && b.affected_nodes) {
      EXPECT_EQ(*a.affected_nodes, *b.affected_nodes);
    }
    if (::testing::Test::HasFailure()) break;
  }
}

}  // namespace
}  // namespace vesk

// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: import_builder.hpp
//
// What every importer shares: the Config of one imported input, built up
// finding by finding. Every host that appears is a node tested (in the
// order met, each once); every finding becomes one raw result on its
// nodes with the row id it came from; and when the input is read, the
// import's own framework definition "import/FORMAT" is added with its
// title, and observation_signs maps every id produced to it, so that the
// import gets its PASS/FAIL line in the report's validation block.
//
// Ids without a name of their own are made from the message with every
// number replaced (stable_id()), so that "Bandwidth is low on device 1."
// and "... device 3." share one id.
//
// Example:
//
//   ImportBuilder builder("nhc", "Node health checks");
//   builder.add_node("node01", "3:1");
//   builder.add_finding(ImportBuilder::kObservation, "check_fs_mount",
//                       "/scratch not mounted", 80, {"node01"}, 3);
//   Config config = builder.finish();
//   // config.observation_signs == {{"check_fs_mount", {"import/nhc"}}}
//   stable_id("nhc", "Bandwidth is low on device 1.");
//   // "nhc-bandwidth-is-low-on-device-n"

#ifndef VESK_CLI_INPUT_IMPORT_BUILDER_HPP_
#define VESK_CLI_INPUT_IMPORT_BUILDER_HPP_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "vesk/common/analysis_output.hpp"
#include "vesk/common/config.hpp"

namespace vesk {
namespace cli {

// stable_id()
//
// "<prefix>-" and the message in lower case, every run of digits written
// "n" and every other run of characters that are not ASCII letters "-"
// (none at either end). A message longer than 48 characters in that form
// is cut at 48 and given "-" and 8 hexadecimal digits of a hash of the
// whole form, so that two long messages with the same start keep apart.
// An empty form gives "<prefix>-message".
std::string stable_id(std::string_view prefix, std::string_view message);

// ImportLayout
//
// Which of its tool's layouts an importer found its input in ("sinfo
// --json", "health table", ...) and the version the input names ("v0.0.40",
// "4.2.3"), "" when it names none. The JSON report lists both under
// "inputs".
struct ImportLayout {
  std::string layout;
  std::string version;
};

// ImportBuilder
//
// One imported input's Config, built up as the input is read.
// The most names the host lists of one import may stand for together.
inline constexpr std::size_t kMaxImportedHosts = 1'000'000;
// ... and at most this many bytes of names, counting each name as long as
// the list that makes it.
inline constexpr std::size_t kMaxImportedHostBytes = std::size_t{32} << 20;

class ImportBuilder {
 public:
  enum Kind { kDiagnosis, kObservation };

  ImportBuilder(std::string format, std::string title);

  // add_node()
  //
  // Adds `hostname` to the nodes tested unless it is there, and returns
  // its index among them (0 for the first met). Throws InputError{place,
  // ...} for a name the report could not fold (a number above 32 bits).
  std::size_t add_node(std::string const& hostname, std::string const& place);

  // The host name of the node at `index` (as add_node() returned it).
  std::string const& node_name(std::size_t index) const {
    return config_.nodes[index].hostname;
  }

  // add_host_list()
  //
  // The names of the host list `list` ("n[1-4]"), repeats dropped, each
  // added as a node. All the host lists of one import together may stand
  // for at most kMaxImportedHosts names and kMaxImportedHostBytes bytes of
  // names, so that a few bytes of input cannot make millions of nodes or
  // gigabytes of names. Throws InputError{place, ...} for a malformed list
  // or one past that budget.
  std::vector<std::string> add_host_list(std::string_view list,
                                         std::string const& place);

  // add_finding()
  //
  // One raw result; its nodes must have been added. `row_id` 0 gives none.
  AnalysisOutput& add_finding(Kind kind, std::string id, std::string message,
                              std::int32_t severity,
                              std::vector<std::string> nodes,
                              std::int32_t row_id);

  // link()
  //
  // diagnosis_observations: `diagnosis` is based on `observation`.
  void link(std::string const& diagnosis, std::string const& observation);

  // finish()
  //
  // The Config: the nodes, the results, the definition "import/FORMAT"
  // and the signs. The builder is spent.
  Config finish();

  std::string const& definition_name() const { return definition_; }

 private:
  std::string definition_;
  std::string title_;
  Config config_;
  std::unordered_map<std::string, std::size_t> nodes_seen_;  // index
  std::size_t listed_hosts_ = 0;  // names of the host lists so far
  std::size_t listed_bytes_ = 0;  // and their bytes, as counted above
  std::int64_t sequence_ = 0;
};

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_INPUT_IMPORT_BUILDER_HPP_

// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// The synthetic cluster generator: findings first (kind, id, severity,
// message), then the framework definition tree and the mapping tables that
// tie findings to it, then the raw results spread over findings and nodes.

#include "synthetic_cluster.hpp"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace vesk {
namespace bench {
namespace {

// A small deterministic random source; std::mt19937_64 is fully specified,
// and the helpers below avoid the library-defined distributions so that a
// seed gives the same cluster everywhere.
class Random {
 public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}
  // Uniform in [0, n); n > 0.
  std::uint64_t below(std::uint64_t n) { return engine_() % n; }
  // Uniform in [lo, hi].
  int between(int lo, int hi) {
    return lo +
           static_cast<int>(below(static_cast<std::uint64_t>(hi - lo) + 1));
  }
  bool chance(double p) {
    if (p <= 0.0) return false;
    return static_cast<double>(engine_() >> 11) * 0x1.0p-53 < p;
  }

 private:
  std::mt19937_64 engine_;
};

struct Finding {
  postprocessor::Type type;
  std::string id;
  int severity;
  std::string message;
  std::string remedy;
};

std::string numbered(char const* format, long long value) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, format, value);
  return buffer;
}

std::string make_message(Random& rng, int length) {
  static char const* const kWords[] = {
      "link",    "degraded", "on",      "interface", "firmware", "mismatch",
      "between", "nodes",    "the",     "memory",    "errors",   "reported",
      "by",      "kernel",   "clock",   "drift",     "exceeds",  "limit",
      "of",      "disk",     "latency", "high",      "service",  "not",
      "running", "expected", "value",   "found",     "port",     "speed"};
  std::string text;
  while (static_cast<int>(text.size()) < length) {
    if (!text.empty()) text += ' ';
    text += kWords[rng.below(sizeof kWords / sizeof kWords[0])];
  }
  text.resize(static_cast<std::size_t>(length));
  return text;
}

int draw_severity(Random& rng, double out_of_range_fraction) {
  if (rng.chance(out_of_range_fraction)) {
    return rng.chance(0.5) ? rng.between(-5, -1) : rng.between(101, 105);
  }
  return rng.between(0, 100);
}

}  // namespace

Config make_cluster(ClusterShape const& shape) {
  using postprocessor::DIAGNOSIS;
  using postprocessor::OBSERVATION;
  using postprocessor::SECONDARY_OBSERVATION;
  using postprocessor::Type;

  Random rng(shape.seed);
  Config config;
  config.overall_pass = false;
  config.severity_threshold = shape.severity_threshold;
  config.config_text = "synthetic cluster, seed " + std::to_string(shape.seed);
  config.name_list = {"synthetic"};

  // Nodes, in racks.
  int const per_rack = std::max(1, shape.nodes_per_rack);
  std::vector<std::string> hostnames;
  hostnames.reserve(static_cast<std::size_t>(std::max(0, shape.nodes)));
  for (int i = 1; i <= shape.nodes; ++i) {
    std::string host = numbered("node%05lld", i);
    hostnames.push_back(host);
    config.nodes.push_back(
        Node{host,
             host,
             {"compute"},
             {numbered("rack%03lld", (i - 1) / per_rack + 1)}});
  }

  // Framework definitions, level by level; level l holds about twice as
  // many as level l - 1.
  auto& attributes = *config.fwd_attributes;
  int const depth = std::max(1, shape.depth);
  int const definitions = std::max(0, shape.definitions);
  std::vector<std::vector<std::shared_ptr<Fwd>>> levels(
      static_cast<std::size_t>(depth));
  std::vector<std::shared_ptr<Fwd>> all_fwds;
  {
    long long weight_sum = (1LL << depth) - 1;
    int made = 0;
    for (int level = 0; level < depth; ++level) {
      int count =
          level + 1 == depth
              ? definitions - made
              : static_cast<int>(definitions * (1LL << level) / weight_sum);
      if (level == 0 && definitions > 0) count = std::max(count, 1);
      count = std::min(count, definitions - made);
      for (int k = 0; k < count; ++k, ++made) {
        auto fwd = std::make_shared<Fwd>();
        fwd->name = numbered("/opt/fwd/level%lld/", level) +
                    numbered("fwd-%04lld.xml", made);
        fwd->title = made % 7 == 6 ? "" : numbered("Definition %lld", made);
        for (int r = 0; r < shape.rules_per_definition; ++r) {
          fwd->rule_names.insert(numbered(
              "rule-%06lld",
              static_cast<long long>(made) * shape.rules_per_definition + r));
        }
        fwd->node = std::make_shared<FwdNode>();
        fwd->node->fwd = fwd;
        fwd->node->branches.resize(level + 1 < depth ? 2 : 0);
        attributes.fwds[fwd->name] = fwd;
        attributes.fwd_name_order.push_back(fwd->name);
        levels[static_cast<std::size_t>(level)].push_back(fwd);
        all_fwds.push_back(fwd);
        if (level == 0) attributes.roots.push_back(fwd->node);
      }
    }
    for (int level = 1; level < depth; ++level) {
      auto const& parents = levels[static_cast<std::size_t>(level - 1)];
      if (parents.empty()) continue;
      for (auto const& child : levels[static_cast<std::size_t>(level)]) {
        auto const& parent = parents[rng.below(parents.size())];
        parent->node->branches[rng.below(2)].push_back(child->node);
        if (parents.size() > 1 && rng.chance(shape.shared_child_fraction)) {
          auto const& other = parents[rng.below(parents.size())];
          if (other != parent) {
            other->node->branches[rng.below(2)].push_back(child->node);
          }
        }
      }
    }
  }

  // Findings, split over the kinds.
  std::size_t const finding_count = std::max<std::size_t>(
      shape.distinct_findings, shape.raw_outputs > 0 ? 3 : 0);
  std::size_t const diagnosis_findings = std::max<std::size_t>(
      1, static_cast<std::size_t>(finding_count * shape.diagnosis_share));
  std::size_t const observation_findings = std::max<std::size_t>(
      1, static_cast<std::size_t>(finding_count * shape.observation_share));
  std::vector<Finding> findings;
  std::vector<std::vector<std::size_t>> by_kind(3);
  for (std::size_t f = 0; f < finding_count; ++f) {
    Type type = f < diagnosis_findings ? DIAGNOSIS
                : f < diagnosis_findings + observation_findings
                    ? OBSERVATION
                    : SECONDARY_OBSERVATION;
    Finding finding;
    finding.type = type;
    finding.severity = draw_severity(rng, shape.out_of_range_fraction);
    finding.message = make_message(
        rng, rng.between(shape.message_min,
                         std::max(shape.message_min, shape.message_max)));
    bool const reuse_base =
        !findings.empty() && findings.back().type == type && rng.chance(0.1);
    if (type != DIAGNOSIS && rng.chance(shape.provider_error_fraction)) {
      finding.id = numbered("provider-error-code#probe-%05lld",
                            static_cast<long long>(f));
    } else {
      static char const* const kPrefix[] = {"diag-%05lld", "obs-%05lld",
                                            "sec-%05lld"};
      std::string base =
          reuse_base && findings.back().id.rfind("provider-error-code", 0) != 0
              ? findings.back().id.substr(0, findings.back().id.find('#'))
              : numbered(kPrefix[type], static_cast<long long>(f));
      finding.id = rng.chance(shape.sub_id_fraction)
                       ? base + numbered("#sub%lld", static_cast<long long>(f))
                       : base;
    }
    finding.remedy = "Check " + finding.id.substr(0, 10) + ".";
    by_kind[static_cast<std::size_t>(type)].push_back(findings.size());
    findings.push_back(std::move(finding));
  }

  // Mapping tables.
  auto usable = [](std::string const& id) {
    std::string short_id = id.substr(0, id.find('#'));
    return short_id == "provider-error-code" ? id : short_id;
  };
  for (auto const& finding : findings) {
    std::string key = usable(finding.id);
    if (rng.chance(shape.unmapped_fraction)) continue;
    if (finding.type == DIAGNOSIS) {
      if (config.diagnosis_observations.count(key) != 0) continue;
      std::vector<std::string> triggers;
      for (int t = 0; t < shape.triggers_per_diagnosis; ++t) {
        auto const& pool = rng.chance(0.8) || by_kind[DIAGNOSIS].size() < 2
                               ? by_kind[OBSERVATION]
                               : by_kind[DIAGNOSIS];
        if (pool.empty()) continue;
        triggers.push_back(usable(findings[pool[rng.below(pool.size())]].id));
      }
      config.diagnosis_observations[key] = std::move(triggers);
    } else {
      if (config.observation_signs.count(key) != 0) continue;
      std::vector<std::string> signs;
      bool const provider = key.rfind("provider-error-code", 0) == 0;
      for (int s = 0; s < shape.signs_per_observation && !all_fwds.empty();
           ++s) {
        auto const& fwd = all_fwds[rng.below(all_fwds.size())];
        if (provider || rng.chance(0.3) || fwd->rule_names.empty()) {
          signs.push_back(fwd->name);
        } else {
          auto it = fwd->rule_names.begin();
          std::advance(it,
                       static_cast<long>(rng.below(fwd->rule_names.size())));
          signs.push_back(*it);
        }
      }
      config.observation_signs[key] = std::move(signs);
    }
  }

  // Raw results.
  double const observation_cut =
      shape.diagnosis_share + shape.observation_share;
  for (std::size_t r = 0; r < shape.raw_outputs; ++r) {
    double const draw = static_cast<double>(rng.below(1u << 30)) / (1u << 30);
    std::size_t kind = draw < shape.diagnosis_share ? 0
                       : draw < observation_cut     ? 1
                                                    : 2;
    while (by_kind[kind].empty()) kind = (kind + 1) % 3;
    auto const& finding =
        findings[by_kind[kind][rng.below(by_kind[kind].size())]];
    auto output = std::make_shared<AnalysisOutput>();
    output->sequence = static_cast<std::int64_t>(r);
    output->id = finding.id;
    output->message = finding.message;
    output->remedy = finding.remedy;
    output->severity = finding.severity;
    output->suppressed = rng.chance(shape.suppressed_fraction);
    if (!hostnames.empty()) {
      int const count = rng.between(1, std::max(1, shape.max_nodes_per_output));
      for (int n = 0; n < count; ++n) {
        output->nodes.push_back(hostnames[rng.below(hostnames.size())]);
      }
    }
    output->row_ids.insert(static_cast<std::int32_t>(r + 1));
    auto& list = kind == 0   ? config.diagnoses
                 : kind == 1 ? config.observations
                             : config.secondary_observations;
    list.push_back(std::move(output));
  }
  return config;
}

}  // namespace bench
}  // namespace vesk

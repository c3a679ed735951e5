// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: synthetic_cluster.hpp
//
// A seeded generator of synthetic health check runs: a Config with nodes in
// racks, raw results of the three kinds, the two mapping tables and a tree of
// framework definitions. The same shape and seed always give the same
// Config, so benchmarks and differential tests can be repeated exactly.
//
// By default every generated result can be mapped: every observation id (its
// sub-id-free form, or the whole id for "provider-error-code" results) is a
// key of observation_signs, and every diagnosis id (sub-id-free) is a key of
// diagnosis_observations. Each observation's signs name a few rules or
// definitions, so every observation belongs to a few framework definitions.
//
// Example:
//
//   vesk::bench::ClusterShape shape;          // 10,000 nodes, 1,000,000 raw
//   shape.raw_outputs = 20000;                // results, 5,000 findings ...
//   vesk::Config config = vesk::bench::make_cluster(shape);
//   vesk::postprocessor::PostprocessorExtensionData data;
//   vesk::postprocessor::UtilityFunctions().fillOutputData(config, data);

#ifndef VESK_BENCH_SUPPORT_SYNTHETIC_CLUSTER_HPP_
#define VESK_BENCH_SUPPORT_SYNTHETIC_CLUSTER_HPP_

#include <cstddef>
#include <cstdint>

#include "vesk/common/config.hpp"

namespace vesk {
namespace bench {

// ClusterShape
//
// What make_cluster() builds. Shares and fractions are in 0..1.
struct ClusterShape {
  std::uint64_t seed = 1;

  // Nodes: host names node00001, node00002, ... (five digits, or more when
  // needed), grouped into racks of `nodes_per_rack` ("rack001", ...).
  int nodes = 10000;
  int nodes_per_rack = 40;

  // Raw results and how they are split over the kinds (diagnoses, first
  // kind of observation, the rest the second kind of observation).
  std::size_t raw_outputs = 1000000;
  double diagnosis_share = 0.2;
  double observation_share = 0.5;

  // Distinct findings, i.e. distinct (id, severity, message); the raw
  // results are spread over them. Each raw result is reported on 1 to
  // `max_nodes_per_output` nodes.
  std::size_t distinct_findings = 5000;
  int max_nodes_per_output = 2;
  int message_min = 60;
  int message_max = 120;

  // Severity numbers are drawn from 0..100; with `out_of_range_fraction`
  // a finding gets a number from -5..-1 or 101..105 instead.
  double out_of_range_fraction = 0.0;

  double suppressed_fraction = 0.01;
  // Share of findings whose id carries a '#' sub-id, and share of
  // observation findings with a "provider-error-code#..." id.
  double sub_id_fraction = 0.3;
  double provider_error_fraction = 0.02;

  // Framework definitions: `definitions` of them, in a tree of `depth`
  // levels; each has `rules_per_definition` rules of its own.
  int definitions = 500;
  int depth = 4;
  int rules_per_definition = 4;
  // Share of child definitions that a second parent lists as well.
  double shared_child_fraction = 0.05;

  // Mapping tables: signs per observation, triggering ids per diagnosis.
  int signs_per_observation = 3;
  int triggers_per_diagnosis = 3;

  // Fraction of observation / diagnosis ids left out of the mapping tables
  // (0 by default, so everything maps).
  double unmapped_fraction = 0.0;

  int severity_threshold = 25;
};

// make_cluster()
//
// A Config of the given shape. Pure function of `shape` (seed included).
Config make_cluster(ClusterShape const& shape);

}  // namespace bench
}  // namespace vesk

#endif  // VESK_BENCH_SUPPORT_SYNTHETIC_CLUSTER_HPP_

// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: alertmanager_importer.hpp
//
// `--import alertmanager=PATH`: the alerts of an alert manager, as
// /api/v2/alerts gives them (a list of alerts) or /api/v2/alerts/groups (a
// list of groups, each with its "alerts"; an element with "alerts" is a
// group). One alert may stand in several groups: alerts are taken once, by
// "fingerprint", at their first appearance.
//
// Each alert is one finding:
// - id: the label "alertname" (alertmanager-unnamed without one);
// - message: the annotation "summary", else "description";
// - remedy: the annotation "runbook_url";
// - severity from the label "severity": critical or page 80, error 70,
//   warning 50, info or none 10, a number 0..100 as given, absent or any
//   other word 50;
// - node: the first of the labels node, nodename, hostname, host,
//   instance, with a ":port" removed (none when no label names one);
// - status.state "suppressed": the result is suppressed, unless the alert
//   is not silenced (status.silencedBy empty) and an alert of the input
//   inhibits it: then it stays visible as an observation of its
//   inhibitor's provenance;
// - an alert whose fingerprint another alert's status.inhibitedBy names is
//   a diagnosis, and diagnosis_observations links it to the alerts it
//   inhibits;
// - row id: the 1-based count of alert objects met in the input, at the
//   alert's first appearance.
//
// Example:
//
//   [{"fingerprint": "a1", "labels": {"alertname": "NodeDown",
//     "severity": "critical", "instance": "n1:9100"},
//     "annotations": {"summary": "n1 is down"},
//     "status": {"state": "active"}}]
//   // one observation NodeDown, 80, on n1, message "n1 is down"

#ifndef VESK_CLI_INPUT_ALERTMANAGER_IMPORTER_HPP_
#define VESK_CLI_INPUT_ALERTMANAGER_IMPORTER_HPP_

#include <ostream>
#include <string>

#include "cli/input/byte_source.hpp"
#include "cli/input/import_builder.hpp"
#include "vesk/common/config.hpp"

namespace vesk {
namespace cli {

// import_alertmanager()
//
// The Config of one alert list. Throws InputError for input that is not a
// JSON array of alerts or of alert groups. An alert state other than
// "active", "suppressed" and "unprocessed" is warned about. `layout`, when
// given, is set to "/api/v2/alerts/groups" or "/api/v2/alerts or amtool
// alert query -o json" (amtool prints the API's list as it is).
Config import_alertmanager(InputBytes& bytes, std::string const& label,
                           std::ostream& warn, ImportLayout* layout = nullptr);

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_INPUT_ALERTMANAGER_IMPORTER_HPP_

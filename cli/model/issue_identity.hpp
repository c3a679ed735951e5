// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: issue_identity.hpp
//
// An issue's identity across runs: its kind, its whole id and its message
// (not its severity, band or nodes). Two runs' issues of equal identity are
// the same issue; the comparison with an earlier run and every record of a
// run that a later run reads are keyed by it.
//
// As a sort key the identity orders by id, then message, then kind, the
// order in which the lists of changes are written.
//
// Example:
//
//   identity_key(IssueKind::kObservation, "gpu-xid", "GPU 0 fell off") <
//       identity_key(IssueKind::kDiagnosis, "gpu-xid", "GPU 1 fell off");
//   // true: the messages decide before the kinds

#ifndef VESK_CLI_MODEL_ISSUE_IDENTITY_HPP_
#define VESK_CLI_MODEL_ISSUE_IDENTITY_HPP_

#include <string_view>
#include <tuple>

#include "cli/model/report_model.hpp"

namespace vesk {
namespace cli {

// An identity as a sort key: views of the id and the message, then the kind.
using IdentityKey = std::tuple<std::string_view, std::string_view, int>;

// identity_key()
//
// The key of the identity (kind, id, message); it views `id` and `message`,
// which must outlive it.
inline IdentityKey identity_key(IssueKind kind, std::string_view id,
                                std::string_view message) {
  return {id, message, static_cast<int>(kind)};
}

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_MODEL_ISSUE_IDENTITY_HPP_

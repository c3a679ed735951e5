// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: postprocessor_extension.hpp
//
// The base class of postprocessor extensions. An extension holds its own
// copy of the host's data record; the copy shares every pointer member with
// the host's record.
//
// Example:
//
//   class CsvExport : public vesk::postprocessor::PostprocessorExtension {
//    public:
//     using PostprocessorExtension::PostprocessorExtension;
//     int execute() override { return data.sorted_outputs ? 0 : 1; }
//   };
//   CsvExport extension(data);
//   extension.execute();

#ifndef VESK_POSTPROCESSOR_POSTPROCESSOR_EXTENSION_HPP_
#define VESK_POSTPROCESSOR_POSTPROCESSOR_EXTENSION_HPP_

#include "vesk/common/export.hpp"
#include "vesk/common/util.hpp"
#include "vesk/postprocessor/postprocessor_extension_data.hpp"

namespace vesk {
namespace postprocessor {

// PostprocessorExtension
//
// Constructed from the host's record: default-constructs its own record,
// then copy-assigns `data` into it (so a null fwd_attributes stays null).
// The caller's record is not changed.
class VESK_API PostprocessorExtension
    : public util::NonDeepCopyable<PostprocessorExtension> {
 public:
  explicit PostprocessorExtension(PostprocessorExtensionData& data);
  ~PostprocessorExtension() override;

  // run()
  //
  // Returns 0 and does nothing else.
  int run();

  // The extension's own work.
  virtual int execute() = 0;

 protected:
  PostprocessorExtensionData data;
};

}  // namespace postprocessor
}  // namespace vesk

#endif  // VESK_POSTPROCESSOR_POSTPROCESSOR_EXTENSION_HPP_

// vesk postprocessor. Licensed under the Apache License, Version 2.0.

#include "vesk/postprocessor/postprocessor_extension.hpp"

namespace vesk {
namespace postprocessor {

PostprocessorExtension::PostprocessorExtension(
    PostprocessorExtensionData& data) {
  this->data = data;
}

PostprocessorExtension::~PostprocessorExtension() = default;

int PostprocessorExtension::run() { return 0; }

}  // namespace postprocessor
}  // namespace vesk

// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: demo_document.hpp
//
// The bundled example cluster (examples/demo-cluster.json), compiled into
// vesk-report so that `vesk-report --demo` works wherever it is installed.
// The definition is generated at build time by cli/embed_file.cmake.
//
// Example:
//
//   std::string_view text(reinterpret_cast<char const*>(kDemoDocument),
//                         kDemoDocumentSize);

#ifndef VESK_CLI_DEMO_DOCUMENT_HPP_
#define VESK_CLI_DEMO_DOCUMENT_HPP_

#include <cstddef>

namespace vesk {
namespace cli {

extern unsigned char const kDemoDocument[];
extern std::size_t const kDemoDocumentSize;

}  // namespace cli
}  // namespace vesk

#endif  // VESK_CLI_DEMO_DOCUMENT_HPP_

// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: export.hpp
//
// The library is built with hidden symbols; VESK_API marks the declarations
// that form its public interface, so that only they are exported from
// libvesk_postprocessor.so. Hosts see the same attribute, which is harmless
// for an importer on ELF platforms.

#ifndef VESK_COMMON_EXPORT_HPP_
#define VESK_COMMON_EXPORT_HPP_

#define VESK_API __attribute__((visibility("default")))

#endif  // VESK_COMMON_EXPORT_HPP_

// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: vesk.hpp
//
// Everything a host needs: the records, the host types, the data record and
// extension base class, the postprocessor's operations, host list merging,
// the output and error logs, the string and path utilities and the
// vocabulary tables.
//
// Example:
//
//   #include "vesk/vesk.hpp"
//
//   using vesk::log::OutputLog;
//   OutputLog::singleton_obj = std::make_unique<OutputLog::OutputLogStream>();
//   OutputLog::singleton_obj->streams.push_back({&std::cout, false});
//   vesk::postprocessor::UtilityFunctions uf;
//   vesk::postprocessor::PostprocessorExtensionData data;
//   int rc = uf.fillOutputData(config, data);
//   uf.Summarize(data);

#ifndef VESK_VESK_HPP_
#define VESK_VESK_HPP_

#include "vesk/common/analysis_output.hpp"
#include "vesk/common/config.hpp"
#include "vesk/common/framework_definition.hpp"
#include "vesk/common/fs.hpp"
#include "vesk/common/group_key.hpp"
#include "vesk/common/str.hpp"
#include "vesk/common/util.hpp"
#include "vesk/common/vocabulary.hpp"
#include "vesk/log/error_log.hpp"
#include "vesk/log/output_log.hpp"
#include "vesk/postprocessor/postprocessor_extension.hpp"
#include "vesk/postprocessor/postprocessor_extension_data.hpp"
#include "vesk/postprocessor/utility_functions.hpp"
#include "vesk/tokenized_host/tokenized_host.hpp"

#endif  // VESK_VESK_HPP_

// vesk postprocessor. Licensed under the Apache License, Version 2.0.

#include "vesk/postprocessor/detail/report_text.hpp"

namespace vesk {
namespace detail {

std::string const kRuleLine(80, '-');

}  // namespace detail
}  // namespace vesk

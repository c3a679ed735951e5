// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: dcgm_importer.cpp

#include "cli/input/dcgm_importer.hpp"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "cli/input/byte_source.hpp"
#include "cli/input/host_name.hpp"
#include "cli/input/import_builder.hpp"
#include "cli/input/input_error.hpp"
#include "cli/input/json_reader.hpp"
#include "vesk/common/str.hpp"

#include <simdjson.h>

namespace vesk {
namespace cli {
namespace {

namespace ondemand = simdjson::ondemand;
using simdjson::error_code;

std::string test_id(std::string_view name) {
  std::string id = "dcgm-";
  bool gap = false;
  for (char c : name) {
    if (c == ' ' || c == '_' || c == '-') {
      gap = true;
      continue;
    }
    if (gap && id.size() > 5) id += '-';
    gap = false;
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    id += c;
  }
  return id;
}

class DcgmImporter {
 public:
  DcgmImporter() : builder_("dcgm", "GPU diagnostics") {}

  Config run(std::string const& path, std::string& label, std::ostream& warn,
             ImportLayout* layout) {
    if (path == "-") {
      throw InputError("",
                       "expected a file or a folder of files named after "
                       "their hosts (standard input has no name)");
    }
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
      std::vector<std::string> files;
      std::filesystem::directory_iterator it(path, error);
      if (error) {
        label = path;
        throw InputError(
            "", "expected a readable folder (" + error.message() + ")");
      }
      for (auto const& entry : it) {
        std::string const name = entry.path().filename().string();
        if (name.empty() || name[0] == '.') continue;
        if (entry.is_directory(error)) continue;
        files.push_back(entry.path().string());
      }
      std::sort(files.begin(), files.end());
      for (auto const& file : files) read_file(file, label, warn);
    } else {
      read_file(path, label, warn);
    }
    if (layout != nullptr) *layout = {join(layouts_), join(versions_)};
    return builder_.finish();
  }

 private:
  void read_file(std::string const& path, std::string& label,
                 std::ostream& warn) {
    label = path;
    host_ = host_of_file(path);
    if (host_.empty()) {
      throw InputError("", "expected a file named after its host");
    }
    InputBytes bytes = read_input(path, simdjson::SIMDJSON_PADDING);
    blank_byte_order_mark(bytes.data(), bytes.size());
    JsonReader json(bytes.text(), label, warn, bytes.releasable());
    ondemand::object root = json.open(simdjson::padded_string_view(
        bytes.data(), bytes.size(), bytes.capacity()));
    builder_.add_node(host_, "");
    row_ = 0;
    bool known = false;
    json.for_each_member(
        root, [&](std::string const& key, ondemand::value& value) {
          if (key == "DCGM GPU Diagnostic" || key == "DCGM Diagnostic") {
            known = true;
            note(layouts_, key == "DCGM Diagnostic" ? "dcgmi diag -j 4.x"
                                                    : "dcgmi diag -j 3.x");
            read_diagnostic(json, value);
          } else if (key == "metadata") {
            // 4.x: {"Driver Version Detected": ..., "version": "4.2.3"}
            read_version(json, value);
          } else {
            json.check_value(value);
          }
        });
    if (!known) {
      json.fail(
          "expected dcgmi diag -j output (the key \"DCGM GPU Diagnostic\" or "
          "\"DCGM Diagnostic\")");
    }
    json.finish();
  }

  // The layouts and versions met, each once, in the order met.
  static void note(std::vector<std::string>& list, std::string text) {
    if (text.empty()) return;
    if (std::find(list.begin(), list.end(), text) == list.end()) {
      list.push_back(std::move(text));
    }
  }

  static std::string join(std::vector<std::string> const& list) {
    std::string text;
    for (auto const& item : list) {
      if (!text.empty()) text += ", ";
      text += item;
    }
    return text;
  }

  void read_version(JsonReader& json, ondemand::value& value) {
    json.for_each_member(value, "a metadata object",
                         [&](std::string const& key, ondemand::value& member) {
                           if (key == "version" || key == "DCGM Version") {
                             note(versions_, json.get_string_or_empty(member));
                           } else {
                             json.check_value(member);
                           }
                         });
  }

  void read_diagnostic(JsonReader& json, ondemand::value& value) {
    json.for_each_member(
        value, "a diagnostic object",
        [&](std::string const& key, ondemand::value& member) {
          if (key == "version") {
            // 3.x names its version here.
            note(versions_, json.get_string_or_empty(member));
            return;
          }
          if (key != "test_categories") {
            json.check_value(member);
            return;
          }
          json.for_each_element(
              member, "an array of test categories",
              [&](ondemand::value& category) {
                json.for_each_member(
                    category, "a test category object",
                    [&](std::string const& k, ondemand::value& v) {
                      if (k == "tests") {
                        json.for_each_element(v, "an array of tests",
                                              [&](ondemand::value& test) {
                                                read_test(json, test);
                                              });
                      } else {
                        json.check_value(v);
                      }
                    });
              });
        });
  }

  struct Result {
    std::string status;  // in lower case
    std::string gpus;
    std::vector<std::string> texts;
    std::int32_t row = 0;
  };

  void read_test(JsonReader& json, ondemand::value& value) {
    std::string name;
    std::vector<Result> results;
    json.for_each_member(value, "a test object",
                         [&](std::string const& key, ondemand::value& member) {
                           if (key == "name") {
                             name = json.get_string(member);
                           } else if (key == "results") {
                             json.for_each_element(
                                 member, "an array of results",
                                 [&](ondemand::value& result) {
                                   results.push_back(read_result(json, result));
                                 });
                           } else {
                             json.check_value(member);
                           }
                         });
    for (auto const& result : results) {
      std::int32_t severity = 0;
      if (result.status == "fail") {
        severity = 80;
      } else if (result.status == "warn" || result.status == "warning") {
        severity = 50;
      } else {
        continue;
      }
      std::vector<std::string> texts = result.texts;
      if (texts.empty()) {
        texts.push_back(name + (severity == 80 ? " failed" : " warned") +
                        " on " + result.gpus);
      }
      for (auto& text : texts) {
        builder_.add_finding(ImportBuilder::kObservation, test_id(name),
                             std::move(text), severity, {host_}, result.row);
      }
    }
  }

  // A warning: text, or an object holding it.
  std::string read_text(JsonReader& json, ondemand::value& value) {
    ondemand::json_type type;
    if (error_code e = value.type().get(type)) {
      json.fail_json(e, "a warning");
    }
    if (type == ondemand::json_type::string) return json.get_string(value);
    std::string text;
    json.for_each_member(value, "a warning text or object",
                         [&](std::string const& key, ondemand::value& member) {
                           if (key == "warning" || key == "error" ||
                               key == "msg" || key == "message") {
                             text = json.get_string(member);
                           } else {
                             json.check_value(member);
                           }
                         });
    return text;
  }

  Result read_result(JsonReader& json, ondemand::value& value) {
    Result result;
    result.row = ++row_;
    std::string group = "GPU";
    json.for_each_member(
        value, "a result object",
        [&](std::string const& key, ondemand::value& member) {
          if (key == "status") {
            result.status = json.get_string(member);
          } else if (key == "gpu_ids" || key == "gpu_id" ||
                     key == "entity_id") {
            ondemand::json_type type;
            if (error_code e = member.type().get(type)) {
              json.fail_json(e, "a GPU id");
            }
            if (type == ondemand::json_type::string) {
              result.gpus = json.get_string(member);
            } else {
              result.gpus = std::to_string(json.get_int32(member));
            }
          } else if (key == "entity_group") {
            group = json.get_string(member);
          } else if (key == "warnings" || key == "errors") {
            json.for_each_element(member, "an array of warnings",
                                  [&](ondemand::value& item) {
                                    std::string text = read_text(json, item);
                                    if (!text.empty()) {
                                      result.texts.push_back(std::move(text));
                                    }
                                  });
          } else {
            json.check_value(member);
          }
        });
    result.gpus = group + " " + result.gpus;
    static constexpr std::string_view kStatuses[] = {
        "pass", "fail", "warn", "warning", "skip", "not run", "notrun"};
    std::string const status = str::lower(result.status);
    if (std::find(std::begin(kStatuses), std::end(kStatuses), status) ==
        std::end(kStatuses)) {
      // Not a status the diagnostic prints: no finding, and said so.
      json.warn("unknown test status \"" + result.status + "\" ignored");
    }
    result.status = status;
    return result;
  }

  ImportBuilder builder_;
  std::string host_;
  std::int32_t row_ = 0;
  std::vector<std::string> layouts_;
  std::vector<std::string> versions_;
};

}  // namespace

Config import_dcgm(std::string const& path, std::string& label,
                   std::ostream& warn, ImportLayout* layout) {
  return DcgmImporter().run(path, label, warn, layout);
}

}  // namespace cli
}  // namespace vesk

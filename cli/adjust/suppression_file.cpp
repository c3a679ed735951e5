// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: suppression_file.cpp
//
// The file is parsed twice by the XML parser: once with references
// decoded, for the values the rules use, and once without, so that each
// attribute's references can be checked as written (the parser leaves an
// unknown entity in place, which the decoded text cannot tell from an
// escaped "&"). Both parses give the same elements in the same order.

#include "cli/adjust/suppression_file.hpp"

#include <algorithm>
#include <ctime>
#include <initializer_list>
#include <set>
#include <stdexcept>
#include <utility>

#include <pugixml.hpp>

#include "cli/input/byte_source.hpp"
#include "cli/input/hostlist.hpp"
#include "cli/input/input_error.hpp"

namespace vesk {
namespace cli {
namespace {

constexpr char const* kAttributes[] = {"id",    "message", "kind",    "nodes",
                                       "owner", "reason",  "expires", "ticket"};

std::string quoted(std::string_view text) {
  std::string out = "\"";
  out += one_line(text);
  out += '"';
  return out;
}

bool is_digits(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
    return c >= '0' && c <= '9';
  });
}

int number(std::string_view text) {
  int value = 0;
  for (char const c : text) value = value * 10 + (c - '0');
  return value;
}

// Seconds since the epoch of a UTC date and time, or none when a field is
// out of its range (February 30th, hour 24).
std::optional<std::int64_t> utc_seconds(int year, int month, int day, int hour,
                                        int minute, int second) {
  std::tm tm{};
  tm.tm_year = year - 1900;
  tm.tm_mon = month - 1;
  tm.tm_mday = day;
  tm.tm_hour = hour;
  tm.tm_min = minute;
  tm.tm_sec = second;
  std::time_t const t = ::timegm(&tm);
  if (tm.tm_year != year - 1900 || tm.tm_mon != month - 1 ||
      tm.tm_mday != day || tm.tm_hour != hour || tm.tm_min != minute ||
      tm.tm_sec != second) {
    return std::nullopt;  // timegm() normalised a field out of range
  }
  return static_cast<std::int64_t>(t);
}

// The lines of a text: where each line feed is, found once, so that the
// line of any offset is a binary search (a file of 10,000 rules asks for
// 10,000 of them).
class LineIndex {
 public:
  explicit LineIndex(std::string_view text) {
    for (std::size_t at = text.find('\n'); at != std::string_view::npos;
         at = text.find('\n', at + 1)) {
      feeds_.push_back(at);
    }
  }

  // The line, from 1, that `offset` is on.
  std::size_t line_at(std::ptrdiff_t offset) const {
    if (offset < 0) return 1;
    auto const before = std::lower_bound(feeds_.begin(), feeds_.end(),
                                         static_cast<std::size_t>(offset));
    return 1 + static_cast<std::size_t>(before - feeds_.begin());
  }

 private:
  std::vector<std::size_t> feeds_;
};

// The references of an attribute as written: XML's five entities and
// character references are fine, anything else is refused.
void check_references(std::string_view raw, std::string const& place) {
  for (std::size_t at = raw.find('&'); at != std::string_view::npos;
       at = raw.find('&', at + 1)) {
    std::size_t const end = raw.find(';', at);
    std::string_view const name =
        raw.substr(at + 1, end == std::string_view::npos ? 0 : end - at - 1);
    bool const known = name == "amp" || name == "lt" || name == "gt" ||
                       name == "quot" || name == "apos" ||
                       (name.size() > 1 && name[0] == '#');
    if (!known) {
      std::string_view const shown =
          raw.substr(at, end == std::string_view::npos ? 1 : end - at + 1);
      throw InputError(
          place, "expected no entity but XML's five, found " + quoted(shown));
    }
  }
}

void check_glob(std::string_view name, std::string const& value,
                std::string const& place) {
  std::size_t const bad = value.find_first_of("[]\\");
  if (bad != std::string::npos) {
    throw InputError(place, "expected a glob of text, \"*\" and \"?\" in " +
                                std::string(name) + ", found " + quoted(value) +
                                " (write \"?\" for \"" + value[bad] + "\")");
  }
}

class FileReader {
 public:
  FileReader(std::string_view text, std::string const& path)
      : text_(text), lines_(text), file_{path, {}} {}

  SuppressionFile read() {
    pugi::xml_document decoded, raw;
    unsigned const options = pugi::parse_default | pugi::parse_doctype;
    load(decoded, options);
    load(raw, options & ~pugi::parse_escapes);
    pugi::xml_node root;
    for (pugi::xml_node node = decoded.first_child(); node;
         node = node.next_sibling()) {
      if (node.type() == pugi::node_doctype) {
        throw InputError(place_of(node),
                         "expected no DOCTYPE (document types are not read)");
      }
      if (node.type() != pugi::node_element) continue;
      if (root) {
        throw InputError(place_of(node),
                         "expected one <suppressions> element, found <" +
                             one_line(node.name()) + "> after it");
      }
      root = node;
    }
    if (!root || std::string_view(root.name()) != "suppressions") {
      throw InputError(
          root ? place_of(root) : "1",
          "expected <suppressions version=\"1\">" +
              (root ? ", found <" + one_line(root.name()) + ">" : ""));
    }
    read_root(root, raw.document_element());
    return std::move(file_);
  }

 private:
  void load(pugi::xml_document& document, unsigned options) {
    pugi::xml_parse_result const result = document.load_buffer(
        text_.data(), text_.size(), options, pugi::encoding_utf8);
    if (!result) {
      std::string what = result.description();
      if (!what.empty()) what[0] = static_cast<char>(what[0] - 'A' + 'a');
      throw InputError(std::to_string(lines_.line_at(result.offset)),
                       "expected well-formed XML (" + what + ")");
    }
  }

  std::string place_of(pugi::xml_node node) const {
    return std::to_string(lines_.line_at(node.offset_debug()));
  }

  void read_root(pugi::xml_node root, pugi::xml_node raw_root) {
    std::string const place = place_of(root);
    bool has_version = false;
    for (pugi::xml_attribute attribute : root.attributes()) {
      std::string_view const name = attribute.name();
      if (name != "version") {
        throw InputError(place,
                         "expected only the attribute version on "
                         "<suppressions>, found " +
                             quoted(name));
      }
      if (has_version) {
        throw InputError(place, "expected the attribute version once");
      }
      has_version = true;
      if (std::string_view(attribute.value()) != "1") {
        throw InputError(place,
                         "expected version=\"1\" on <suppressions>, found " +
                             quoted(attribute.value()));
      }
    }
    if (!has_version) {
      throw InputError(place, "expected version=\"1\" on <suppressions>");
    }
    pugi::xml_node raw = raw_root.first_child();
    for (pugi::xml_node node = root.first_child(); node;
         node = node.next_sibling(), raw = raw.next_sibling()) {
      if (node.type() != pugi::node_element) {
        throw InputError(place_of(node),
                         "expected only <suppress> elements in "
                         "<suppressions>, found text");
      }
      if (std::string_view(node.name()) != "suppress") {
        throw InputError(place_of(node), "expected <suppress>, found <" +
                                             one_line(node.name()) + ">");
      }
      read_rule(node, raw);
    }
  }

  void read_rule(pugi::xml_node node, pugi::xml_node raw) {
    SuppressionRule rule;
    rule.line = lines_.line_at(node.offset_debug());
    std::string const place = std::to_string(rule.line);
    if (node.first_child()) {
      throw InputError(place, "expected <suppress> to be empty");
    }
    std::set<std::string_view> seen;
    pugi::xml_attribute raw_attribute = raw.first_attribute();
    for (pugi::xml_attribute attribute : node.attributes()) {
      std::string_view const name = attribute.name();
      check_references(raw_attribute.value(), place);
      raw_attribute = raw_attribute.next_attribute();
      if (std::find(std::begin(kAttributes), std::end(kAttributes), name) ==
          std::end(kAttributes)) {
        throw InputError(place,
                         "expected the attributes id, message, kind, nodes, "
                         "owner, reason, expires and ticket on <suppress>, "
                         "found " +
                             quoted(name));
      }
      if (!seen.insert(name).second) {
        throw InputError(place, "expected the attribute " + std::string(name) +
                                    " once, found it again");
      }
      std::string value = attribute.value();
      if (value.empty()) {
        throw InputError(place, "expected a value in the attribute " +
                                    std::string(name) + ", found \"\"");
      }
      take(rule, name, std::move(value), place);
    }
    for (char const* required : {"id", "owner", "reason", "expires"}) {
      if (seen.count(required) == 0) {
        throw InputError(place, std::string("expected the attribute ") +
                                    required + " on <suppress>");
      }
    }
    file_.rules.push_back(std::move(rule));
  }

  void take(SuppressionRule& rule, std::string_view name, std::string value,
            std::string const& place) {
    if (name == "id" || name == "message") {
      check_glob(name, value, place);
      (name == "id" ? rule.id : rule.message) = std::move(value);
    } else if (name == "kind") {
      auto const found = std::find(std::begin(kResultKindNames),
                                   std::end(kResultKindNames), value);
      if (found == std::end(kResultKindNames)) {
        throw InputError(place,
                         "expected kind diagnosis, observation or "
                         "secondary_observation, found " +
                             quoted(value));
      }
      rule.kind = static_cast<int>(found - std::begin(kResultKindNames));
    } else if (name == "nodes") {
      try {
        rule.node_names = expand_host_list(value, kMaxSuppressedNodes - nodes_);
      } catch (HostListError const& e) {
        throw InputError(place, e.what());
      }
      nodes_ += rule.node_names.size();
      rule.has_nodes = true;
      rule.nodes = std::move(value);
    } else if (name == "expires") {
      try {
        rule.expires_at = parse_expiry(value);
      } catch (std::invalid_argument const&) {
        throw InputError(place,
                         "expected expires to be a date (2026-12-15), a date "
                         "and time (2026-12-15T08:00:00Z, "
                         "2026-12-15T09:00:00+01:00) or never, found " +
                             quoted(value));
      }
      rule.expires = std::move(value);
    } else if (name == "owner") {
      rule.owner = std::move(value);
    } else if (name == "reason") {
      rule.reason = std::move(value);
    } else {
      rule.ticket = std::move(value);
    }
  }

  std::string_view text_;
  LineIndex lines_;
  SuppressionFile file_;
  std::size_t nodes_ = 0;  // names expanded so far, over every rule
};

}  // namespace

std::optional<std::int64_t> parse_expiry(std::string_view text) {
  if (text == "never") return std::nullopt;
  auto const field = [&](std::size_t at, std::size_t size) {
    std::string_view const part = text.substr(at, size);
    if (part.size() != size || !is_digits(part)) {
      throw std::invalid_argument("expected digits");
    }
    return number(part);
  };
  auto const expect = [&](std::size_t at, char c) {
    if (at >= text.size() || text[at] != c) {
      throw std::invalid_argument("expected a separator");
    }
  };
  int const year = field(0, 4);
  expect(4, '-');
  int const month = field(5, 2);
  expect(7, '-');
  int const day = field(8, 2);
  if (text.size() == 10) {
    auto const start = utc_seconds(year, month, day, 0, 0, 0);
    if (!start) throw std::invalid_argument("expected a date");
    return *start + 24 * 60 * 60;  // the end of that day
  }
  expect(10, 'T');
  int const hour = field(11, 2);
  expect(13, ':');
  int const minute = field(14, 2);
  expect(16, ':');
  int const second = field(17, 2);
  auto const local = utc_seconds(year, month, day, hour, minute, second);
  if (!local) throw std::invalid_argument("expected a date and time");
  std::string_view const zone = text.substr(19);
  if (zone == "Z") return *local;
  if (zone.size() != 6 || (zone[0] != '+' && zone[0] != '-')) {
    throw std::invalid_argument("expected Z or an offset");
  }
  int const zone_hours = field(20, 2);
  expect(22, ':');
  int const zone_minutes = field(23, 2);
  if (zone_hours > 23 || zone_minutes > 59) {
    throw std::invalid_argument("expected an offset");
  }
  std::int64_t const offset = (zone_hours * 60 + zone_minutes) * 60;
  return zone[0] == '+' ? *local - offset : *local + offset;
}

SuppressionFile parse_suppression_file(std::string_view text,
                                       std::string const& path) {
  return FileReader(text, path).read();
}

SuppressionFile read_suppression_file(std::string const& path) {
  InputBytes bytes =
      read_input(path, 1, kMaxSuppressionFileSize, InputKind::kText);
  return parse_suppression_file(bytes.text(), path);
}

}  // namespace cli
}  // namespace vesk

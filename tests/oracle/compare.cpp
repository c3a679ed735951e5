// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// Deep copies and comparisons for the differential tests.

#include "oracle/compare.hpp"

#include <algorithm>
#include <map>
#include <sstream>

namespace vesk {
namespace oracle {
namespace {

using postprocessor::PostprocessorExtensionData;

class TreeCopier {
 public:
  std::shared_ptr<Fwd> fwd(std::shared_ptr<Fwd> const& old) {
    if (!old) return nullptr;
    auto found = fwds_.find(old.get());
    if (found != fwds_.end()) return found->second;
    auto copy = std::make_shared<Fwd>(*old);
    fwds_[old.get()] = copy;
    copy->node = node(old->node);
    return copy;
  }
  std::shared_ptr<FwdNode> node(std::shared_ptr<FwdNode> const& old) {
    if (!old) return nullptr;
    auto found = nodes_.find(old.get());
    if (found != nodes_.end()) return found->second;
    auto copy = std::make_shared<FwdNode>();
    nodes_[old.get()] = copy;
    copy->fwd = fwd(old->fwd.lock());
    for (auto const& branch : old->branches) {
      copy->branches.emplace_back();
      for (auto const& child : branch) {
        copy->branches.back().push_back(node(child));
      }
    }
    return copy;
  }
  // Definitions reachable only through the tree must stay alive.
  std::vector<std::shared_ptr<Fwd>> all() const {
    std::vector<std::shared_ptr<Fwd>> result;
    for (auto const& [old, copy] : fwds_) result.push_back(copy);
    return result;
  }

 private:
  std::map<Fwd const*, std::shared_ptr<Fwd>> fwds_;
  std::map<FwdNode const*, std::shared_ptr<FwdNode>> nodes_;
};

// Keeps the definitions reachable only through nodes alive: FwdNode holds
// its definition weakly.
std::vector<std::vector<std::shared_ptr<Fwd>>>& keep_alive() {
  static std::vector<std::vector<std::shared_ptr<Fwd>>> kept;
  return kept;
}

using Positions = std::map<CollapsedAnalysisOutput const*, std::string>;

Positions positions(PostprocessorExtensionData const& data) {
  Positions result;
  if (!data.sorted_outputs) return result;
  for (auto const& [key, group] : *data.sorted_outputs) {
    for (std::size_t i = 0; i < group.size(); ++i) {
      result.emplace(group[i].get(),
                     std::to_string(key.to_ulong()) + ":" + std::to_string(i));
    }
  }
  return result;
}

std::string name_set(
    std::set<std::shared_ptr<CollapsedAnalysisOutput>> const& set,
    Positions const& where) {
  std::vector<std::string> names;
  for (auto const& member : set) {
    auto found = where.find(member.get());
    names.push_back(found == where.end() ? "?" : found->second);
  }
  std::sort(names.begin(), names.end());
  std::string text = "{";
  for (auto const& name : names) text += name + " ";
  return text + "}";
}

template <typename Map>
std::string counts_text(Map const& counts) {
  std::ostringstream text;
  for (auto const& [key, count] : counts) {
    text << key.to_ulong() << "=" << count << " ";
  }
  return text.str();
}

}  // namespace

std::shared_ptr<FWDAttributes> deep_copy(FWDAttributes const& attributes) {
  TreeCopier copier;
  auto copy = std::make_shared<FWDAttributes>();
  copy->fwd_name_order = attributes.fwd_name_order;
  for (auto const& [name, fwd] : attributes.fwds) {
    copy->fwds[name] = copier.fwd(fwd);
  }
  for (auto const& node : attributes.roots) {
    copy->roots.push_back(copier.node(node));
  }
  for (auto const& node : attributes.selected) {
    copy->selected.push_back(copier.node(node));
  }
  for (auto const& node : attributes.excluded) {
    copy->excluded.push_back(copier.node(node));
  }
  keep_alive().push_back(copier.all());
  return copy;
}

Config with_own_definitions(Config const& config) {
  Config copy = config;
  copy.fwd_attributes = deep_copy(*config.fwd_attributes);
  return copy;
}

std::string position_of(CollapsedAnalysisOutput const* output,
                        PostprocessorExtensionData const& data) {
  auto where = positions(data);
  auto found = where.find(output);
  return found == where.end() ? "?" : found->second;
}

std::string compare_lists(
    std::vector<std::shared_ptr<CollapsedAnalysisOutput>> const& a,
    PostprocessorExtensionData const& data_a,
    std::vector<std::shared_ptr<CollapsedAnalysisOutput>> const& b,
    PostprocessorExtensionData const& data_b) {
  auto where_a = positions(data_a);
  auto where_b = positions(data_b);
  auto text = [](auto const& list, Positions const& where) {
    std::string result;
    for (auto const& item : list) {
      auto found = where.find(item.get());
      result += (found == where.end() ? "?" : found->second) + " ";
    }
    return result;
  };
  std::string ta = text(a, where_a);
  std::string tb = text(b, where_b);
  if (ta != tb) return "lists differ: [" + ta + "] vs [" + tb + "]";
  return "";
}

std::string compare_records(PostprocessorExtensionData const& a,
                            PostprocessorExtensionData const& b) {
  std::ostringstream diff;
  if (a.terminal_width != b.terminal_width) diff << "terminal_width; ";
  if (a.overall_pass != b.overall_pass) diff << "overall_pass; ";
  if (a.severity_threshold != b.severity_threshold ||
      a.severity_threshold_set != b.severity_threshold_set) {
    diff << "threshold; ";
  }
  if (a.suppressed_count != b.suppressed_count) {
    diff << "suppressed_count " << a.suppressed_count << " vs "
         << b.suppressed_count << "; ";
  }
  if (counts_text(a.group_counts) != counts_text(b.group_counts)) {
    diff << "group_counts " << counts_text(a.group_counts) << " vs "
         << counts_text(b.group_counts) << "; ";
  }
  if (!a.affected_nodes != !b.affected_nodes ||
      (a.affected_nodes && *a.affected_nodes != *b.affected_nodes)) {
    diff << "affected_nodes; ";
  }
  if (a.config_text != b.config_text || a.name_list != b.name_list) {
    diff << "copied texts; ";
  }
  if (!a.fwd_name_list != !b.fwd_name_list ||
      (a.fwd_name_list && *a.fwd_name_list != *b.fwd_name_list)) {
    diff << "fwd_name_list; ";
  }
  if (!a.sorted_outputs != !b.sorted_outputs) {
    diff << "sorted_outputs presence; ";
    return diff.str();
  }
  if (!a.sorted_outputs) return diff.str();
  auto where_a = positions(a);
  auto where_b = positions(b);
  if (a.sorted_outputs->size() != b.sorted_outputs->size()) {
    diff << "group key count; ";
    return diff.str();
  }
  auto ia = a.sorted_outputs->begin();
  auto ib = b.sorted_outputs->begin();
  for (; ia != a.sorted_outputs->end(); ++ia, ++ib) {
    if (ia->first != ib->first) {
      diff << "group keys " << ia->first.to_ulong() << " vs "
           << ib->first.to_ulong() << "; ";
      return diff.str();
    }
    auto const& ga = ia->second;
    auto const& gb = ib->second;
    if (ga.size() != gb.size()) {
      diff << "group " << ia->first.to_ulong() << " size " << ga.size()
           << " vs " << gb.size() << "; ";
      return diff.str();
    }
    for (std::size_t i = 0; i < ga.size(); ++i) {
      auto const& ra = *ga[i];
      auto const& rb = *gb[i];
      std::string at =
          std::to_string(ia->first.to_ulong()) + ":" + std::to_string(i) + " ";
      if (ra.outputs != rb.outputs) diff << at << "outputs; ";
      if (ra.type != rb.type) diff << at << "type; ";
      if (ra.fwd_names != rb.fwd_names) diff << at << "fwd_names; ";
      if (ra.related.size() != rb.related.size()) {
        diff << at << "related kinds; ";
      } else {
        auto ka = ra.related.begin();
        auto kb = rb.related.begin();
        for (; ka != ra.related.end(); ++ka, ++kb) {
          if (ka->first != kb->first ||
              name_set(ka->second, where_a) != name_set(kb->second, where_b)) {
            diff << at << "related[" << ka->first << "] "
                 << name_set(ka->second, where_a) << " vs "
                 << name_set(kb->second, where_b) << "; ";
          }
        }
      }
      if (name_set(ra.related_diagnoses, where_a) !=
          name_set(rb.related_diagnoses, where_b)) {
        diff << at << "related_diagnoses; ";
      }
      if (diff.tellp() > 2000) return diff.str();
    }
  }
  return diff.str();
}

std::string compare_definitions(FWDAttributes const& a,
                                FWDAttributes const& b) {
  std::ostringstream diff;
  if (a.fwds.size() != b.fwds.size()) return "definition count";
  auto ia = a.fwds.begin();
  auto ib = b.fwds.begin();
  for (; ia != a.fwds.end(); ++ia, ++ib) {
    if (ia->first != ib->first) return "definition names";
    if (!ia->second || !ib->second) continue;
    if (ia->second->passed != ib->second->passed) {
      diff << ia->first << " passed; ";
    }
    if (counts_text(ia->second->counts) != counts_text(ib->second->counts)) {
      diff << ia->first << " counts " << counts_text(ia->second->counts)
           << " vs " << counts_text(ib->second->counts) << "; ";
    }
  }
  return diff.str();
}

}  // namespace oracle
}  // namespace vesk

// vesk postprocessor. Licensed under the Apache License, Version 2.0.
//
// File: glob.cpp
//
// Matching works piece by piece: the pattern is cut at its stars, the
// first piece must match at the start of the text, the last at its end,
// and each piece between is taken at its leftmost place after the one
// before. Taking the leftmost place never loses a match, because a piece
// that starts earlier also ends earlier. A text of n bytes and a pattern of
// m costs at most n * m steps, never more.

#include "cli/adjust/glob.hpp"

namespace vesk {
namespace cli {
namespace {

bool is_continuation(char c) {
  return (static_cast<unsigned char>(c) & 0xc0) == 0x80;
}

// The bytes of the code point that starts at `at` (1 for a byte that does
// not start one).
std::size_t code_point_size(std::string_view text, std::size_t at) {
  auto const lead = static_cast<unsigned char>(text[at]);
  std::size_t size = lead < 0xc0 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
  if (lead >= 0xf8) size = 1;
  std::size_t used = 1;
  while (used < size && at + used < text.size() &&
         is_continuation(text[at + used])) {
    ++used;
  }
  return used;
}

}  // namespace

Glob::Glob(std::string_view pattern) {
  pieces_.emplace_back();
  for (char const c : pattern) {
    if (c == '*') {
      if (!pieces_.back().text.empty() || pieces_.size() == 1) {
        pieces_.emplace_back();
      }
      pieces_.back().star = true;
      continue;
    }
    if (c == '?') pieces_.back().has_any = true;
    pieces_.back().text += c;
  }
}

bool Glob::piece_at(Piece const& piece, std::string_view text, std::size_t at,
                    std::size_t& end) {
  if (!piece.has_any) {
    if (text.compare(at, piece.text.size(), piece.text) != 0 ||
        text.size() - at < piece.text.size()) {
      return false;
    }
    end = at + piece.text.size();
    return true;
  }
  for (char const c : piece.text) {
    if (at >= text.size()) return false;
    if (c == '?') {
      at += code_point_size(text, at);
    } else if (text[at] == c) {
      ++at;
    } else {
      return false;
    }
  }
  end = at;
  return true;
}

bool Glob::matches(std::string_view text) const {
  std::size_t at = 0;
  for (std::size_t i = 0; i < pieces_.size(); ++i) {
    Piece const& piece = pieces_[i];
    bool const last = i + 1 == pieces_.size();
    std::size_t end = 0;
    if (!piece.star) {
      // The first piece, with no star before it: at the start.
      if (!piece_at(piece, text, at, end)) return false;
      at = end;
      if (last) return at == text.size();
      continue;
    }
    if (last && piece.text.empty()) return true;  // a star at the end
    if (last && !piece.has_any) {
      // Plain text after the last star: it must end the text.
      return text.size() - at >= piece.text.size() &&
             text.compare(text.size() - piece.text.size(), piece.text.size(),
                          piece.text) == 0;
    }
    bool found = false;
    for (std::size_t from = at; from <= text.size(); ++from) {
      if (from < text.size() && is_continuation(text[from])) continue;
      if (!piece_at(piece, text, from, end)) continue;
      // The last piece must end the text; the others take the first place.
      if (last && end != text.size()) continue;
      found = true;
      break;
    }
    if (!found) return false;
    at = end;
  }
  return at == text.size();
}

}  // namespace cli
}  // namespace vesk

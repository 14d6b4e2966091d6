#include "panel_title.h"

#include <unigbrk.h>
#include <uniwidth.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace quill::freedesktop {
namespace {

/// GNOME's shell cuts off the beginnings of titles that are wider than the screen; other panels cut off their ends.
constexpr int kMaxColumns = 60;
constexpr std::string_view kEllipsis = "\u2026";
constexpr int kEllipsisColumns = 1;

constexpr std::string_view kReplacementCharacter = "\uFFFD";

/// A user-perceived character: the offset of its end in the title, and the width of the title up to there.
struct Character {
  std::size_t end;
  int columns;
};

/// A family of emoji is as wide as one, and what has no width of its own may be drawn as a box.
int columnsOf(const std::uint8_t* text, std::size_t size) { return std::clamp(u8_width(text, size, "UTF-8"), 1, 2); }

std::vector<Character> charactersOf(std::string_view title) {
  const auto* text = reinterpret_cast<const std::uint8_t*>(title.data());
  std::vector<char> startsCharacter(title.size());
  u8_grapheme_breaks(text, title.size(), startsCharacter.data());
  std::vector<Character> characters;
  std::size_t start = 0;
  int columns = 0;
  for (std::size_t end = 1; end <= title.size(); ++end) {
    if (end < title.size() && startsCharacter[end] == 0) continue;
    columns += columnsOf(text + start, end - start);
    characters.push_back({end, columns});
    start = end;
  }
  return characters;
}

}  // namespace

PanelTitle panelTitle(std::string_view title, std::optional<std::size_t> mnemonic) {
  // No character has more columns than bytes.
  if (title.size() <= kMaxColumns) return {std::string(title), mnemonic};
  const auto characters = charactersOf(title);
  const int columns = characters.back().columns;
  if (columns <= kMaxColumns) return {std::string(title), mnemonic};

  constexpr int kTail = (kMaxColumns - kEllipsisColumns) / 2;
  constexpr int kHead = kMaxColumns - kEllipsisColumns - kTail;
  std::size_t headEnd = 0;
  std::size_t tailStart = title.size();
  for (const auto& character : characters) {
    if (character.columns <= kHead) headEnd = character.end;
    if (columns - character.columns <= kTail) {
      tailStart = character.end;
      break;
    }
  }

  PanelTitle shortened;
  shortened.text.append(title.substr(0, headEnd)).append(kEllipsis).append(title.substr(tailStart));
  if (mnemonic && *mnemonic < headEnd) shortened.mnemonic = mnemonic;
  if (mnemonic && *mnemonic >= tailStart) shortened.mnemonic = *mnemonic - tailStart + headEnd + kEllipsis.size();
  return shortened;
}

std::string panelLabel(std::string_view title, std::optional<std::size_t> mnemonic, const Panel& panel) {
  const auto shown = panelTitle(title, mnemonic);
  const auto& text = shown.text;
  // A panel that removes the first underscore that another character follows, and shows all others, has no access keys.
  const bool hasKeys = panel.underscores == Underscores::all;
  bool isDoubled = false;
  const auto isMark = [&](std::size_t at) {
    if (hasKeys) return true;
    return !isDoubled && at + 1 < text.size() && text[at + 1] != '_';
  };
  std::string label;
  label.reserve(text.size() + 1);
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (at == shown.mnemonic && hasKeys) label += '_';
    if (text[at] == '\0') {
      label += kReplacementCharacter;
      continue;
    }
    if (text[at] == '_' && isMark(at)) {
      label += '_';
      isDoubled = true;
    }
    label += text[at];
  }
  return label;
}

}  // namespace quill::freedesktop

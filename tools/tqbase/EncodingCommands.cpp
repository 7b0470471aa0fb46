// tqbase gbk2utf8, utf82gbk and isutf8. A conversion either gives the whole
// output or, like the library, nothing: a failed one writes nothing and
// names the first character that the library refuses.

#include <cstdio>
#include <string>
#include <vector>

#include "Commands.h"
#include "TQBase/Encoding.h"

namespace tqbase_tool {
namespace {

bool isGbkLead(unsigned char c) { return c >= 0x81 && c <= 0xFE; }
bool isContinuation(unsigned char c) { return (c & 0xC0) == 0x80; }

// Characters as the converters cut them: a GBK lead byte takes the byte
// behind it, whatever it is; a UTF-8 lead byte takes up to the continuation
// bytes that it announces. Good text is cut exactly where the library cuts
// it, so a piece that fails on its own is where the whole text fails.
std::size_t gbkCharLength(const std::string& text, std::size_t pos) {
  return isGbkLead(text[pos]) && pos + 1 < text.size() ? 2 : 1;
}

std::size_t utf8Announced(unsigned char lead) {
  if (lead < 0xC0) return 1;
  if (lead < 0xE0) return 2;
  if (lead < 0xF0) return 3;
  if (lead < 0xF8) return 4;
  return lead < 0xFC ? 5 : 6;
}

std::size_t utf8CharLength(const std::string& text, std::size_t pos) {
  const std::size_t announced = utf8Announced(text[pos]);
  std::size_t length = 1;
  while (length < announced && pos + length < text.size() &&
         isContinuation(text[pos + length])) {
    ++length;
  }
  return length;
}

struct Refusal {
  std::size_t offset = 0;
  std::size_t length = 0;  // 0: no character fails on its own
};

// The first character that `converts` refuses. The converters keep no state
// between characters, so a prefix cut at a character boundary converts
// exactly when none of its characters fails: the text is tried piece by
// piece, and the failing piece is bisected on its character boundaries.
template <typename CharLength, typename Converts>
Refusal firstRefusal(const std::string& text, CharLength charLength,
                     Converts converts) {
  constexpr std::size_t kPiece = 1 << 20;
  for (std::size_t start = 0; start < text.size();) {
    std::vector<std::size_t> ends;  // of the piece's characters
    std::size_t end = start;
    while (end < text.size() && end - start < kPiece) {
      end += charLength(text, end);
      ends.push_back(end);
    }
    if (!converts(text.substr(start, end - start))) {
      std::size_t good = 0, bad = ends.size() - 1;  // characters, by index
      while (good < bad) {
        const std::size_t mid = good + (bad - good) / 2;
        if (converts(text.substr(start, ends[mid] - start))) {
          good = mid + 1;
        } else {
          bad = mid;
        }
      }
      const std::size_t first = bad == 0 ? start : ends[bad - 1];
      return {first, ends[bad] - first};
    }
    start = end;
  }
  return Refusal();
}

std::string hexBytes(const std::string& text, const Refusal& refusal) {
  std::string shown;
  for (std::size_t i = 0; i < refusal.length; ++i) {
    char byte[8];
    std::snprintf(byte, sizeof byte, "%s0x%02X", i == 0 ? "" : " ",
                  static_cast<unsigned char>(text[refusal.offset + i]));
    shown += byte;
  }
  return shown;
}

// Why the GBK character at the refusal fails.
std::string gbkReason(const std::string& text, const Refusal& refusal) {
  const bool cutOff = refusal.length == 1 &&
                      refusal.offset + 1 == text.size() &&
                      isGbkLead(text[refusal.offset]);
  return (cutOff ? "ends inside a GBK character at byte offset "
                 : "not GBK at byte offset ") +
         std::to_string(refusal.offset) + " (" + hexBytes(text, refusal) + ")";
}

// Why the UTF-8 character at the refusal gives no GBK: no UTF-8, or a
// character that code page 936 lacks.
std::string utf8Reason(const std::string& text, const Refusal& refusal) {
  const std::string offset = std::to_string(refusal.offset);
  const std::wstring unit =
      TQBase::UTF8ToUnicode(text.substr(refusal.offset, refusal.length));
  if (!unit.empty()) {
    char code[16];
    std::snprintf(code, sizeof code, "U+%04X",
                  static_cast<unsigned>(unit[0]) & 0xFFFFu);
    return std::string(code) + " at byte offset " + offset + " has no GBK form";
  }
  const bool cutOff = refusal.offset + refusal.length == text.size() &&
                      refusal.length < utf8Announced(text[refusal.offset]);
  return (cutOff ? "ends inside a UTF-8 character at byte offset "
                 : "not UTF-8 at byte offset ") +
         offset + " (" + hexBytes(text, refusal) + ")";
}

template <typename Convert, typename CharLength, typename Reason>
int convertInput(const Invocation& invocation, Convert convert,
                 CharLength charLength, Reason reason) {
  const std::string name = invocation.inputs()[0];
  std::string text;
  if (!readWhole(name, kMaxWholeInput, invocation.command->name, text)) {
    return kExitTrouble;
  }
  const std::string converted = convert(text);
  if (!converted.empty() || text.empty()) {
    writeOut(converted);
    return kExitOk;
  }
  const Refusal refusal = firstRefusal(
      text, charLength,
      [&](const std::string& piece) { return !convert(piece).empty(); });
  report(displayName(name) + ": " +
         (refusal.length != 0 ? reason(text, refusal)
                              : std::string("does not convert")));
  return kExitNegative;
}

int runGbkToUtf8(const Invocation& invocation) {
  return convertInput(invocation, TQBase::GBKToUtf8, gbkCharLength, gbkReason);
}

int runUtf8ToGbk(const Invocation& invocation) {
  return convertInput(invocation, TQBase::Utf8ToGBK, utf8CharLength,
                      utf8Reason);
}

int runIsUtf8(const Invocation& invocation) {
  int status = kExitOk;
  for (const std::string& name : invocation.inputs()) {
    std::string bytes;
    if (!readWhole(name, kMaxWholeInput, "isutf8", bytes)) {
      status = kExitTrouble;
      continue;
    }
    const int size = static_cast<int>(bytes.size());
    const bool utf8 = TQBase::IsUTF8File(bytes.data(), size);
    const char* verdict = !utf8 ? "not utf-8"
                          : TQBase::IsUTF8BomFile(bytes.data(), size)
                              ? "utf-8 with BOM"
                              : "utf-8";
    writeOut(name + ": " + verdict + "\n");
    if (!utf8 && status == kExitOk) status = kExitNegative;
  }
  return status;
}

}  // namespace

const Command kGbkToUtf8Command = {
    "gbk2utf8",
    "[FILE]",
    "Converts GBK text (code page 936) to UTF-8. Input that does not convert\n"
    "gives no output, exit status 1 and the byte offset of the first\n"
    "character that fails.\n"
    "\n"
    "With no FILE, or when FILE is -, reads standard input.\n",
    {},
    1,
    runGbkToUtf8};

const Command kUtf8ToGbkCommand = {
    "utf82gbk",
    "[FILE]",
    "Converts UTF-8 text to GBK (code page 936). The UTF-8 rules are\n"
    "TQBase's: overlong forms and surrogates pass, a character above U+FFFF\n"
    "keeps its low 16 bits, a byte-order mark is U+FEFF (which has no GBK\n"
    "form). Input that does not convert gives no output, exit status 1 and\n"
    "the byte offset of the first character that fails.\n"
    "\n"
    "With no FILE, or when FILE is -, reads standard input.\n",
    {},
    1,
    runUtf8ToGbk};

const Command kIsUtf8Command = {
    "isutf8",
    "[FILE]...",
    "Prints NAME: utf-8, NAME: utf-8 with BOM or NAME: not utf-8 for each\n"
    "FILE, by TQBase's scan: 1- to 3-byte forms only (any 4-byte form is\n"
    "not utf-8), values unchecked, a character cut off by the end accepted.\n"
    "\n"
    "With no FILE, or when FILE is -, reads standard input. Exit status: 0\n"
    "when all are UTF-8, 1 when one is not, 2 when one cannot be read.\n",
    {},
    -1,
    runIsUtf8};

}  // namespace tqbase_tool

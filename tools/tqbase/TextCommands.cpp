// tqbase base64, hex, percent and mask-json: the text forms of TQByteArray
// and stdstring::MaskJsonValue on whole inputs. Results are the library's
// own; where its decoders quietly skip or compute with odd characters, the
// command still writes that result and says so on standard error.

#include <list>
#include <string>

#include "Commands.h"
#include "TQBase/StdString.h"
#include "TQBase/TQByteArray.h"

namespace tqbase_tool {
namespace {

using TQBase::TQByteArray;

// Largest sources whose text form still fits one TQByteArray.
constexpr std::size_t kMaxBase64Source = 1610609661;
constexpr std::size_t kMaxHexSource = 1073741823;
constexpr std::size_t kMaxPercentSource = 715826517;

// A view of the input, valid while `bytes` lives: no second copy.
TQByteArray viewOf(const std::string& bytes, std::size_t size) {
  return TQByteArray::fromRawData(bytes.data(), static_cast<int>(size));
}

void writeArray(const TQByteArray& array) {
  writeOut(array.constData(), static_cast<std::size_t>(array.size()));
}

// Encoded text ends in a line feed, as base64(1) writes it; nothing at all
// for an empty input.
void writeLine(const TQByteArray& text) {
  writeArray(text);
  if (text.size() != 0) writeOut("\n", 1);
}

bool isAsciiSpace(unsigned char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isBase64Digit(unsigned char c, bool url) {
  if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
      (c >= '0' && c <= '9')) {
    return true;
  }
  return url ? c == '-' || c == '_' : c == '+' || c == '/';
}

bool isHexDigit(unsigned char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') ||
         (c >= 'a' && c <= 'f');
}

int runBase64(const Invocation& invocation) {
  const std::string name = invocation.inputs()[0];
  const bool decode = invocation.has("decode");
  const bool url = invocation.has("url");
  std::string bytes;
  if (!readWhole(name, decode ? kMaxWholeInput : kMaxBase64Source, "base64",
                 bytes)) {
    return kExitTrouble;
  }
  const TQByteArray source = viewOf(bytes, bytes.size());
  if (!decode) {
    writeLine(source.toBase64(url ? 1 : 0));
    return kExitOk;
  }
  writeArray(TQByteArray::fromBase64(source, url ? 1 : 0));
  // Padding and line breaks are skipped by design; anything else is worth
  // a word, since the bits around it join up as if it were not there.
  std::size_t skipped = 0, first = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto c = static_cast<unsigned char>(bytes[i]);
    if (!isBase64Digit(c, url) && c != '=' && !isAsciiSpace(c) &&
        skipped++ == 0) {
      first = i;
    }
  }
  if (skipped == 0) return kExitOk;
  report(displayName(name) + ": skipped " + std::to_string(skipped) +
         (skipped == 1 ? " character that is" : " characters that are") +
         " not Base64, the first at byte offset " + std::to_string(first));
  return kExitNegative;
}

int runHex(const Invocation& invocation) {
  const std::string name = invocation.inputs()[0];
  const bool decode = invocation.has("decode");
  std::string bytes;
  if (!readWhole(name, decode ? kMaxWholeInput : kMaxHexSource, "hex", bytes)) {
    return kExitTrouble;
  }
  if (!decode) {
    writeLine(viewOf(bytes, bytes.size()).toHex());
    return kExitOk;
  }
  // A text file's last line end is no digit.
  std::size_t size = bytes.size();
  if (size != 0 && bytes[size - 1] == '\n') --size;
  if (size != 0 && bytes[size - 1] == '\r') --size;
  writeArray(TQByteArray::fromHex(viewOf(bytes, size)));
  for (std::size_t i = 0; i < size; ++i) {
    if (!isHexDigit(static_cast<unsigned char>(bytes[i]))) {
      report(displayName(name) + ": no hexadecimal digit at byte offset " +
             std::to_string(i) + ", decoded as it stands");
      return kExitNegative;
    }
  }
  if (size % 2 != 0) {
    report(displayName(name) +
           ": odd number of hexadecimal digits, the last one ignored");
    return kExitNegative;
  }
  return kExitOk;
}

int runPercent(const Invocation& invocation) {
  std::string bytes;
  if (!readWhole(invocation.inputs()[0], kMaxPercentSource, "percent", bytes)) {
    return kExitTrouble;
  }
  writeLine(viewOf(bytes, bytes.size()).toPercentEncoding());
  return kExitOk;
}

int runMaskJson(const Invocation& invocation) {
  const std::vector<std::string> keys = invocation.values("key");
  if (keys.empty()) {
    return usageError(*invocation.command, "at least one --key is needed");
  }
  char mask = '*';
  for (const std::string& given : invocation.values("char")) {
    if (given.size() != 1) {
      return usageError(*invocation.command,
                        "--char takes exactly one byte, not '" + given + "'");
    }
    mask = given[0];
  }
  std::string json;
  if (!readWhole(invocation.inputs()[0], kMaxWholeInput, "mask-json", json)) {
    return kExitTrouble;
  }
  writeOut(TQBase::stdstring::MaskJsonValue(
      json, std::list<std::string>(keys.begin(), keys.end()), mask));
  return kExitOk;
}

}  // namespace

const Command kBase64Command = {
    "base64",
    "[-d] [--url] [FILE]",
    "Writes the Base64 text of FILE's bytes on one line, padded with '='.\n"
    "\n"
    "  -d, --decode  write the bytes of a Base64 text instead: characters\n"
    "                outside the alphabet are skipped and decoding goes on\n"
    "                behind them, '=' included; any but '=' and blanks make\n"
    "                the exit status 1\n"
    "      --url     the URL alphabet: '-' and '_' for '+' and '/'\n"
    "\n"
    "With no FILE, or when FILE is -, reads standard input.\n",
    {{"decode", 'd', false}, {"url", 0, false}},
    1,
    runBase64};

const Command kHexCommand = {
    "hex",
    "[-d] [FILE]",
    "Writes two upper-case hexadecimal digits for each byte of FILE.\n"
    "\n"
    "  -d, --decode  write one byte for each two characters instead, either\n"
    "                case; a final line end is dropped, an odd last digit is\n"
    "                ignored, and other characters count as they stand (the\n"
    "                exit status is then 1)\n"
    "\n"
    "With no FILE, or when FILE is -, reads standard input.\n",
    {{"decode", 'd', false}},
    1,
    runHex};

const Command kPercentCommand = {
    "percent",
    "[FILE]",
    "Writes FILE's bytes with every byte but A-Z a-z 0-9 - . / _ ~ as %XX,\n"
    "line ends and zero bytes included.\n"
    "\n"
    "With no FILE, or when FILE is -, reads standard input.\n",
    {},
    1,
    runPercent};

const Command kMaskJsonCommand = {
    "mask-json",
    "--key KEY [--key KEY]... [--char C] [FILE]",
    "Writes FILE with the value behind each KEY overwritten, byte for byte,\n"
    "up to the next ',', ']' or '}'. This is a byte scan, not a JSON parser:\n"
    "keys match in any case and anywhere, quotes included or not.\n"
    "\n"
    "  --key KEY  a key to mask; repeat for more, applied in order\n"
    "  --char C   the mask byte (default '*')\n"
    "\n"
    "With no FILE, or when FILE is -, reads standard input.\n",
    {{"key", 0, true}, {"char", 0, true}},
    1,
    runMaskJson};

}  // namespace tqbase_tool

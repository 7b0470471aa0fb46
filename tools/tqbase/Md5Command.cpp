// tqbase md5: digests in md5sum's line format, and --check as md5sum -c,
// so that lists made by either program are read by the other.

#include <cctype>
#include <cstring>
#include <string>

#include "Commands.h"
#include "TQBase/TQMD5.h"

namespace tqbase_tool {
namespace {

// A name with a backslash or a line feed is written escaped behind a
// leading backslash, so that every digest stays on one parseable line.
std::string escapeName(const std::string& name) {
  std::string escaped;
  for (char c : name) {
    if (c == '\\') {
      escaped += "\\\\";
    } else if (c == '\n') {
      escaped += "\\n";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

// Streams the input through TQMD5, which reads it in chunks and closes it.
bool digestOf(const std::string& name, std::string& hex) {
  InputStream state;
  FILE* stream = openStream(name, state);
  if (stream == nullptr) return false;
  TQBase::TQMD5 md5(stream);
  if (state.error != 0) {
    report(displayName(name) + ": " + std::strerror(state.error));
    return false;
  }
  hex = md5.get_digest();
  return true;
}

int sumInputs(const Invocation& invocation) {
  int status = kExitOk;
  for (const std::string& name : invocation.inputs()) {
    std::string hex;
    if (!digestOf(name, hex)) {
      status = kExitTrouble;
      continue;
    }
    const bool escape = name.find_first_of("\\\n") != std::string::npos;
    writeOut((escape ? "\\" : "") + hex + "  " +
             (escape ? escapeName(name) : name) + "\n");
  }
  return status;
}

// "[\]<32 hex digits><blank>[ or *]<name>", the leading backslash marking
// an escaped name. Both cases of hex digits are accepted.
bool parseCheckLine(const std::string& line, std::string& hex,
                    std::string& name) {
  std::size_t i = line.find_first_not_of(" \t");
  const bool escaped = i < line.size() && line[i] == '\\';
  if (escaped) ++i;
  hex.clear();
  for (; i < line.size() && hex.size() < 32; ++i) {
    if (!std::isxdigit(static_cast<unsigned char>(line[i]))) return false;
    hex += static_cast<char>(std::tolower(static_cast<unsigned char>(line[i])));
  }
  if (hex.size() != 32 || i == line.size() ||
      (line[i] != ' ' && line[i] != '\t')) {
    return false;
  }
  if (++i < line.size() && (line[i] == ' ' || line[i] == '*')) ++i;
  name.clear();
  for (; i < line.size(); ++i) {
    if (!escaped || line[i] != '\\') {
      name += line[i];
    } else if (i + 1 < line.size() &&
               (line[i + 1] == '\\' || line[i + 1] == 'n')) {
      name += line[++i] == 'n' ? '\n' : '\\';
    } else {
      return false;
    }
  }
  return !name.empty();
}

std::string counted(std::size_t n, const char* one, const char* many) {
  return std::to_string(n) + " " + (n == 1 ? one : many);
}

int checkList(const std::string& listName) {
  std::string list;
  if (!readWhole(listName, kMaxWholeInput, "md5 --check", list)) {
    return kExitTrouble;
  }
  std::size_t good = 0, improper = 0, unread = 0, mismatched = 0;
  for (std::size_t start = 0; start < list.size();) {
    std::size_t end = list.find('\n', start);
    if (end == std::string::npos) end = list.size();
    const std::string line = list.substr(start, end - start);
    start = end + 1;
    if (line.empty() || line[0] == '#') continue;
    std::string expected, name, actual;
    if (!parseCheckLine(line, expected, name)) {
      ++improper;
      continue;
    }
    ++good;
    const bool escape = name.find('\n') != std::string::npos;
    const std::string shown = escape ? "\\" + escapeName(name) : name;
    if (!digestOf(name, actual)) {
      ++unread;
      writeOut(shown + ": FAILED open or read\n");
    } else if (actual != expected) {
      ++mismatched;
      writeOut(shown + ": FAILED\n");
    } else {
      writeOut(shown + ": OK\n");
    }
  }
  if (good == 0) {
    report(displayName(listName) +
           ": no properly formatted checksum lines found");
    return kExitNegative;
  }
  if (improper != 0) {
    report("WARNING: " + counted(improper, "line is", "lines are") +
           " improperly formatted");
  }
  if (unread != 0) {
    report("WARNING: " + counted(unread, "listed file", "listed files") +
           " could not be read");
  }
  if (mismatched != 0) {
    report("WARNING: " +
           counted(mismatched, "computed checksum", "computed checksums") +
           " did NOT match");
  }
  return unread != 0 || mismatched != 0 ? kExitNegative : kExitOk;
}

int runMd5(const Invocation& invocation) {
  if (!invocation.has("check")) return sumInputs(invocation);
  int status = kExitOk;
  for (const std::string& list : invocation.inputs()) {
    const int listStatus = checkList(list);
    if (listStatus > status) status = listStatus;
  }
  return status;
}

}  // namespace

const Command kMd5Command = {
    "md5",
    "[--check] [FILE]...",
    "Prints the MD5 digest of each FILE as md5sum does: 32 lower-case hex\n"
    "digits, two spaces, the name. Files are streamed, so any size works.\n"
    "\n"
    "  -c, --check  read digest lines from each FILE and check the files they\n"
    "               name, printing NAME: OK or NAME: FAILED\n"
    "\n"
    "With no FILE, or when FILE is -, reads standard input. Exit status: 0,\n"
    "1 when a check fails or a listed file cannot be read, 2 when an input\n"
    "cannot be read.\n",
    {{"check", 'c', false}},
    -1,
    runMd5};

}  // namespace tqbase_tool

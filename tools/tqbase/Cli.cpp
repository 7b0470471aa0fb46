#include "Cli.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace tqbase_tool {
namespace {

int outputError = 0;  // errno of the first failed write to standard output

const Option* findLong(const Command& command, const std::string& name) {
  for (const Option& option : command.options) {
    if (name == option.name) return &option;
  }
  return nullptr;
}

const Option* findShort(const Command& command, char name) {
  for (const Option& option : command.options) {
    if (option.shortName != 0 && option.shortName == name) return &option;
  }
  return nullptr;
}

void printHelp(const Command& command) {
  std::printf("Usage: tqbase %s %s\n%s", command.name, command.synopsis,
              command.help);
}

void reportErrno(const std::string& name, int error) {
  report(displayName(name) + ": " + std::strerror(error));
}

// The descriptor of an input, "-" being standard input, after refusing
// directories (which open() accepts but read() does not).
int openInput(const std::string& name, struct stat& info) {
  const int fd = name == "-" ? STDIN_FILENO : open(name.c_str(), O_RDONLY);
  if (fd < 0) {
    reportErrno(name, errno);
    return -1;
  }
  int error = fstat(fd, &info) != 0 ? errno : 0;
  if (error == 0 && S_ISDIR(info.st_mode)) error = EISDIR;
  if (error != 0) {
    reportErrno(name, error);
    if (name != "-") close(fd);
    return -1;
  }
  return fd;
}

ssize_t readRetrying(int fd, char* buffer, std::size_t size) {
  ssize_t n;
  do {
    n = read(fd, buffer, size);
  } while (n < 0 && errno == EINTR);
  return n;
}

ssize_t readStream(void* cookie, char* buffer, std::size_t size) {
  auto* state = static_cast<InputStream*>(cookie);
  const ssize_t n = readRetrying(state->fd, buffer, size);
  if (n < 0) state->error = errno;
  return n;
}

int closeStream(void* cookie) {
  auto* state = static_cast<InputStream*>(cookie);
  const int rc = state->ownsFd ? close(state->fd) : 0;
  state->fd = -1;
  return rc;
}

}  // namespace

bool Invocation::has(const char* name) const {
  for (const auto& option : options) {
    if (option.first == name) return true;
  }
  return false;
}

std::vector<std::string> Invocation::values(const char* name) const {
  std::vector<std::string> found;
  for (const auto& option : options) {
    if (option.first == name) found.push_back(option.second);
  }
  return found;
}

std::vector<std::string> Invocation::inputs() const {
  return operands.empty() ? std::vector<std::string>{"-"} : operands;
}

int parseInvocation(const Command& command, int argc, char** argv, int first,
                    Invocation& out) {
  out.command = &command;
  bool optionsEnded = false;
  for (int i = first; i < argc; ++i) {
    const std::string arg = argv[i];
    if (optionsEnded || arg == "-" || arg.empty() || arg[0] != '-') {
      out.operands.push_back(arg);
      continue;
    }
    if (arg == "--") {
      optionsEnded = true;
      continue;
    }
    if (arg == "--help") {
      printHelp(command);
      return kExitOk;
    }
    const Option* option = nullptr;
    std::string value;
    bool hasInlineValue = false;
    if (arg[1] == '-') {
      const std::size_t equals = arg.find('=');
      option = findLong(command, arg.substr(2, equals - 2));
      if (equals != std::string::npos) {
        value = arg.substr(equals + 1);
        hasInlineValue = true;
      }
    } else if (arg.size() == 2) {
      option = findShort(command, arg[1]);
    }
    if (option == nullptr) {
      return usageError(command, "unknown option '" + arg + "'");
    }
    const std::string shown = std::string("--") + option->name;
    if (!option->takesValue && hasInlineValue) {
      return usageError(command, "option '" + shown + "' takes no value");
    }
    if (option->takesValue && !hasInlineValue) {
      if (i + 1 == argc) {
        return usageError(command, "option '" + shown + "' needs a value");
      }
      value = argv[++i];
    }
    out.options.emplace_back(option->name, value);
  }
  if (command.maxOperands >= 0 &&
      out.operands.size() > static_cast<std::size_t>(command.maxOperands)) {
    return usageError(
        command, "extra operand '" + out.operands[command.maxOperands] + "'");
  }
  return -1;
}

void report(const std::string& message) {
  std::fprintf(stderr, "tqbase: %s\n", message.c_str());
}

int usageError(const Command& command, const std::string& message) {
  report(std::string(command.name) + ": " + message);
  std::fprintf(stderr, "Try 'tqbase %s --help'.\n", command.name);
  return kExitTrouble;
}

std::string displayName(const std::string& name) {
  return name == "-" ? "standard input" : name;
}

bool readWhole(const std::string& name, std::size_t limit, const char* what,
               std::string& bytes) {
  bytes.clear();
  struct stat info;
  const int fd = openInput(name, info);
  if (fd < 0) return false;
  const bool regular = S_ISREG(info.st_mode);
  bool tooLarge = regular && static_cast<std::size_t>(info.st_size) > limit;
  constexpr std::size_t kChunk = 1 << 16;
  // Room for the last, empty read too, so that the string never reallocates.
  if (regular && !tooLarge) bytes.reserve(info.st_size + kChunk);
  int error = 0;
  while (!tooLarge) {
    const std::size_t used = bytes.size();
    bytes.resize(used + kChunk);
    const ssize_t n = readRetrying(fd, &bytes[used], kChunk);
    bytes.resize(used + (n > 0 ? n : 0));
    if (n <= 0) {
      error = n < 0 ? errno : 0;
      break;
    }
    tooLarge = bytes.size() > limit;
  }
  if (name != "-") close(fd);
  if (tooLarge) {
    report(displayName(name) + ": too large: " + what + " takes at most " +
           std::to_string(limit) + " bytes");
  } else if (error != 0) {
    reportErrno(name, error);
  }
  if (tooLarge || error != 0) {
    bytes = std::string();
    return false;
  }
  return true;
}

FILE* openStream(const std::string& name, InputStream& state) {
  struct stat info;
  state.fd = openInput(name, info);
  state.ownsFd = name != "-";
  state.error = 0;
  if (state.fd < 0) return nullptr;
  FILE* stream =
      fopencookie(&state, "rb", {readStream, nullptr, nullptr, closeStream});
  if (stream == nullptr) {
    reportErrno(name, errno);
    closeStream(&state);
  }
  return stream;
}

void writeOut(const char* data, std::size_t size) {
  if (size != 0 && std::fwrite(data, 1, size, stdout) != size &&
      outputError == 0) {
    outputError = errno;
  }
}

void writeOut(const std::string& text) { writeOut(text.data(), text.size()); }

int finishOutput(int status) {
  if (std::fflush(stdout) != 0 && outputError == 0) outputError = errno;
  if (outputError != 0) {
    report(std::string("standard output: ") + std::strerror(outputError));
    return kExitTrouble;
  }
  return status;
}

}  // namespace tqbase_tool

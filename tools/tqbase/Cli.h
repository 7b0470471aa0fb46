#ifndef TQBASE_TOOLS_CLI_H_
#define TQBASE_TOOLS_CLI_H_

// What every tqbase subcommand shares: option parsing, the exit statuses,
// messages on standard error and reading inputs, "-" being standard input.

#include <cstddef>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace tqbase_tool {

// 0: done (or a positive answer); 1: a negative answer or bad data (the
// command still said what it could); 2: bad usage or an input that cannot
// be read, so nothing could be said about it.
enum ExitStatus { kExitOk = 0, kExitNegative = 1, kExitTrouble = 2 };

// Whole inputs land in a TQByteArray or go through int lengths, so no input
// may exceed the largest array: 2^31 - 4097 bytes.
constexpr std::size_t kMaxWholeInput = 2147479551;

struct Option {
  const char* name;  // long form, without "--"
  char shortName;    // 0 for none
  bool takesValue;
};

struct Invocation;

struct Command {
  const char* name;
  const char* synopsis;  // operands and options after the command name
  const char* help;      // the body of "tqbase NAME --help"
  std::vector<Option> options;
  int maxOperands;  // -1: any number
  int (*run)(const Invocation&);
};

struct Invocation {
  const Command* command = nullptr;
  std::vector<std::pair<std::string, std::string>> options;  // in order given
  std::vector<std::string> operands;

  bool has(const char* name) const;
  std::vector<std::string> values(const char* name) const;
  // The operands, or "-" alone when none was given.
  std::vector<std::string> inputs() const;
};

// Parses argv[first..argc) for `command`. Returns -1 when the command should
// run, otherwise the exit status to leave with (after --help or bad usage).
int parseInvocation(const Command& command, int argc, char** argv, int first,
                    Invocation& out);

// "tqbase: " + message on standard error.
void report(const std::string& message);
// report(message), then a pointer to the command's help; returns kExitTrouble.
int usageError(const Command& command, const std::string& message);

// The operand as messages name it: "standard input" for "-".
std::string displayName(const std::string& name);

// Reads the whole input. Directories, unreadable inputs and inputs above
// `limit` bytes are reported (`what` names the operation that has the limit)
// and give false.
bool readWhole(const std::string& name, std::size_t limit, const char* what,
               std::string& bytes);

// A stream over the input for consumers that close it themselves (TQMD5).
// Read errors, which a FILE reader cannot tell from the end of the input,
// are kept in `error` (an errno value) so that the caller can still see them
// after the stream is gone.
struct InputStream {
  int fd = -1;
  bool ownsFd = false;  // false for standard input, which stays open
  int error = 0;
};
// Opens the input; reports and gives nullptr for directories and inputs that
// cannot be opened. `state` must outlive the stream.
FILE* openStream(const std::string& name, InputStream& state);

// Writes to standard output; write errors are reported once, by finishOutput.
void writeOut(const char* data, std::size_t size);
void writeOut(const std::string& text);
// Flushes standard output; a failed write turns `status` into kExitTrouble.
int finishOutput(int status);

}  // namespace tqbase_tool

#endif  // TQBASE_TOOLS_CLI_H_

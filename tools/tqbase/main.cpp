// tqbase: TQBase's byte functions from the shell, for checking what the
// library makes of real data without writing a program.

#include <cstdio>
#include <cstring>
#include <new>

#include "Commands.h"
#include "TQBase/Version.h"

namespace tqbase_tool {
namespace {

const Command* const kCommands[] = {
    &kMd5Command,       &kBase64Command,    &kHexCommand,    &kPercentCommand,
    &kGbkToUtf8Command, &kUtf8ToGbkCommand, &kIsUtf8Command, &kMaskJsonCommand,
};

void printUsage(FILE* out) {
  std::fputs(
      "Usage: tqbase COMMAND [OPTION]... [FILE]...\n"
      "Runs TQBase " TQBASE_VERSION_STRING
      " on the bytes of files or standard input (- or no FILE)\n"
      "and writes the result to standard output.\n"
      "\n"
      "Commands:\n"
      "  md5        MD5 digests in md5sum's format; --check verifies a list\n"
      "  base64     Base64 text of the bytes, or the bytes of a text (-d)\n"
      "  hex        hexadecimal text of the bytes, or the bytes of a text "
      "(-d)\n"
      "  percent    percent-encoding of the bytes\n"
      "  gbk2utf8   GBK text to UTF-8\n"
      "  utf82gbk   UTF-8 text to GBK\n"
      "  isutf8     whether each file reads as UTF-8\n"
      "  mask-json  JSON text with the values of named keys masked\n"
      "\n"
      "  --help     this text; 'tqbase COMMAND --help' describes a command\n"
      "  --version  the version of TQBase\n"
      "\n"
      "Exit status: 0 done, 1 a negative answer or bad data, 2 bad usage or\n"
      "an input that cannot be read.\n",
      out);
}

int run(int argc, char** argv) {
  if (argc < 2) {
    printUsage(stderr);
    return kExitTrouble;
  }
  const char* name = argv[1];
  if (std::strcmp(name, "--help") == 0) {
    printUsage(stdout);
    return finishOutput(kExitOk);
  }
  if (std::strcmp(name, "--version") == 0) {
    std::printf("tqbase (TQBase) %s\n", TQBASE_VERSION_STRING);
    return finishOutput(kExitOk);
  }
  for (const Command* command : kCommands) {
    if (std::strcmp(name, command->name) != 0) continue;
    Invocation invocation;
    const int status = parseInvocation(*command, argc, argv, 2, invocation);
    return finishOutput(status >= 0 ? status : command->run(invocation));
  }
  report(std::string("unknown command '") + name + "'");
  std::fputs("Try 'tqbase --help'.\n", stderr);
  return kExitTrouble;
}

}  // namespace
}  // namespace tqbase_tool

int main(int argc, char** argv) {
  try {
    return tqbase_tool::run(argc, argv);
  } catch (const std::bad_alloc&) {
    tqbase_tool::report("out of memory");
    return tqbase_tool::kExitTrouble;
  }
}

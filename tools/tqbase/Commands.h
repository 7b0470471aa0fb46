#ifndef TQBASE_TOOLS_COMMANDS_H_
#define TQBASE_TOOLS_COMMANDS_H_

#include "Cli.h"

namespace tqbase_tool {

extern const Command kMd5Command;
extern const Command kBase64Command;
extern const Command kHexCommand;
extern const Command kPercentCommand;
extern const Command kGbkToUtf8Command;
extern const Command kUtf8ToGbkCommand;
extern const Command kIsUtf8Command;
extern const Command kMaskJsonCommand;

}  // namespace tqbase_tool

#endif  // TQBASE_TOOLS_COMMANDS_H_

#pragma once

#include "command.h"

namespace qvtool {

extern const Command downloadCommand;
extern const Command getCommand;
extern const Command postCommand;
extern const Command copyCommand;
extern const Command removeCommand;
extern const Command parseCommand;
extern const Command encryptCommand;
extern const Command decryptCommand;
extern const Command compareCommand;
extern const Command deviceIdCommand;
extern const Command revealCommand;
extern const Command idleCommand;
extern const Command demoCommand;
extern const Command helpCommand;

/** All of them, in the order of the help. */
const std::vector<const Command*>& Commands();

/** The help of the command; for null, of the tool. */
QByteArray HelpText(const Command* command = nullptr);

/** The command of that name, or null. */
const Command* FindCommand(const QString& name);

} // namespace qvtool

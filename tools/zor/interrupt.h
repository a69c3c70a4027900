// interrupt.h - requests to stop: Ctrl-C and its relatives.
#pragma once

namespace zor {

// From now on the signals that ask a program to stop (SIGINT, SIGTERM and SIGHUP, as far as the
// system has them) do not end it but make interrupted() true, except those that whoever started us
// wants ignored.
void catch_interrupts();

// Whether the program was asked to stop. For every thread.
bool interrupted();

} // namespace zor

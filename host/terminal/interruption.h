#pragma once

#include <QString>

/// Ctrl-C, the request to terminate and the end of the terminal: the first asks the work to stop, the second ends the
/// program at once, whatever it is doing. A hang-up that the caller has the program ignore (nohup) stays ignored.
namespace interruption {

/// From now on a signal ends the program at once, as cancelled: nothing is at stake yet.
void end_at_once();

/// From now on the work asks requested() and ends in order.
void watch();

/// True from the first such signal on.
bool requested();

/// Says what a cancel has to wait for from now on ("the copy of ..."), which the first signal then tells; empty for
/// nothing worth a word.
void wait_is_for(const QString& work);

} // namespace interruption

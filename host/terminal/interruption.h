#pragma once

/// Ctrl-C and the request to terminate: the first asks the work to stop, the second ends the program at once.
namespace interruption {

/// Takes over both signals; a further call changes nothing.
void watch();

/// True from the first such signal on.
bool requested();

} // namespace interruption

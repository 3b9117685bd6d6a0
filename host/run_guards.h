#pragma once

#include "host/extraction.h"

/// Refuses what the plug-in would do without a word: leave the source through links or go in circles, unless
/// `follow_links_outside`, and fill the result's file system. Names every such link on standard error, then throws a
/// command_failure.
void guard_run(const extraction_settings& settings, bool follow_links_outside);

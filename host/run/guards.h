#pragma once

#include "host/run/preparation.h"

/// Refuses what the plug-in would do without a word: leave the source through links or go in circles, unless
/// `follow_links_outside`, or fill the result's file system. Names every such link on standard error, then throws a
/// failure. Otherwise fills in the copies that each user is expected to have, and what was seen of the
/// directories.
void guard_run(run_plan& plan, bool follow_links_outside);

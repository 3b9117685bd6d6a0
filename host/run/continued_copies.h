#pragma once

#include "host/run/preparation.h"

/// Makes the copies of an unfinished run ready to be gone on with: gives each user's newest dated folder today's name,
/// and removes whatever in it is not a whole copy of its source file by size and modification time, together with older
/// dated folders and those of users whom this run leaves out. Throws a failure that names what stands in the way.
void keep_whole_copies(const run_plan& plan);

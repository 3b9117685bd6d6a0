#pragma once

/// True for the engine types 0, 1 and 2, the only ones under which tables are cleared and artifacts extracted.
constexpr bool is_working_engine_type(int engine_type)
{
    return engine_type >= 0 && engine_type <= 2;
}

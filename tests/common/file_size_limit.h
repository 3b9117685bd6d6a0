#pragma once

#include <QtGlobal>

#include <csignal>
#include <sys/resource.h>

/// No file may become longer than this.
class file_size_limit
{
public:
    explicit file_size_limit(rlim_t bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &earlier);
        const rlimit limit{bytes, earlier.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~file_size_limit() { ::setrlimit(RLIMIT_FSIZE, &earlier); }
    Q_DISABLE_COPY_MOVE(file_size_limit)

private:
    rlimit earlier = {};
};

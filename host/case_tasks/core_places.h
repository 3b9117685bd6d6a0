#pragma once

#include <QList>
#include <QProcess>

#include <functional>
#include <optional>

/// The cores of this machine that processes are given, one each, where there are as many processes as cores: the
/// threads of one then wake each other without waiting for a core that another's are on.
class core_places
{
public:
    /// Gives none where `processes` at a time leave cores free, or where a system knows no such thing.
    explicit core_places(int processes);

    /// Returns the core that stands in `taken` least often; nothing where none is given.
    std::optional<int> emptiest(const QList<int>& taken) const;

    /// Returns what a child has to do before it begins, so that it is kept to a core; nothing for none.
    static std::function<void()> keeper(std::optional<int> core);

    /// Lets a process that was kept to a core use all of them.
    void let_use_all(const QProcess& process) const;

private:
    QList<int> cores;
};

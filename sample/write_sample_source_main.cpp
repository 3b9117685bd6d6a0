#include "sample/sample_source.h"

#include <CLI/CLI.hpp>
#include <QCoreApplication>
#include <QFile>
#include <QTextStream>

#include <cstdio>
#include <exception>

namespace {

int run(int argc, char** argv)
{
    CLI::App command(
        "Writes a mounted Mac volume with several users' mail: the same options, the same bytes and times.");
    std::string directory;
    sample_options options;
    bool plain_names = false;
    command.add_option("DIR", directory, "Directory to write into; must be empty or absent")->required();
    command.add_option("--seed", options.seed, "What the drawn values come from")->capture_default_str();
    command.add_option("--users", options.users, "Home directories")
        ->check(CLI::Range(1, 100'000))
        ->capture_default_str();
    command.add_option("--accounts", options.accounts_per_user, "Mail accounts of each user")
        ->check(CLI::Range(0, 1'000'000))
        ->capture_default_str();
    command
        .add_option("--messages", options.messages_per_account, "Messages of each account in the newest Mail version")
        ->check(CLI::Range(0, 100'000'000))
        ->capture_default_str();
    command.add_flag("--plain-names", plain_names,
                     "No spaces, quotes, umlauts and newlines in users' and mailboxes' names");
    try {
        command.parse(argc, argv);
    } catch (const CLI::ParseError& problem) {
        return command.exit(problem) == 0 ? 0 : 2;
    }

    options.root = QFile::decodeName(directory.c_str());
    options.odd_names = !plain_names;
    QString error;
    const auto summary = write_sample_source(options, error);
    if (!summary) {
        QTextStream(stderr) << "write-sample-source: " << error << '\n';
        return 1;
    }
    QTextStream(stdout) << options.root << ": " << summary->users.size() << " users, " << summary->accounts
                        << " accounts, " << summary->directories << " directories, " << summary->files << " files, "
                        << summary->bytes << " bytes\n";
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        const QCoreApplication application(argc, argv);
        return run(argc, argv);
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "write-sample-source: %s\n", problem.what());
        return 1;
    }
}

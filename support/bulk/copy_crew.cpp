#include "support/bulk/copy_crew.h"

#include <algorithm>
#include <chrono>
#include <system_error>

namespace {

/// One for each core, but a disk wants something to do while a file is being hashed.
std::size_t thread_count()
{
    static const std::size_t count = std::clamp(std::thread::hardware_concurrency(), 2U, 8U);
    return count;
}

// So many that the disk can put what it reads in an order of its own, few enough for the descriptors of a process.
constexpr std::size_t files_ahead = 8;

} // namespace

copy_job::copy_job(walked_directory_ptr source_end, std::shared_ptr<const copy_directory_end> destination_end,
                   std::vector<walked_file> wanted)
    : files(std::move(wanted))
    , outcomes(files.size())
    , source_path(source_end->path)
    , destination_path(destination_end->path)
    , source(std::move(source_end))
    , destination(std::move(destination_end))
    , asks_ahead(reads_on_demand(source->descriptor()))
    , ready(std::make_unique<std::atomic<bool>[]>(files.size()))
    , opened(std::make_unique<std::atomic<int>[]>(files.size()))
    , left(files.size())
{
    std::fill_n(opened.get(), files.size(), -1);
}

copy_job::~copy_job()
{
    close();
}

bool copy_job::work(file_copier& copier)
{
    bool is_last = false;
    for (std::size_t file = next.fetch_add(1); file < files.size(); file = next.fetch_add(1)) {
        ask_ahead(file);
        outcomes[file] = copier.copy(order_for(file));
        ready[file].store(true, std::memory_order_release);
        is_last = left.fetch_sub(1) == 1;
    }
    return is_last;
}

/// Opens the files after one that was begun and asks for their content, so that the disk always has something to do.
void copy_job::ask_ahead(std::size_t begun)
{
    const std::size_t end = asks_ahead ? std::min(files.size(), begun + 1 + files_ahead) : 0;
    while (asked.load(std::memory_order_relaxed) < end) {
        const std::size_t file = asked.fetch_add(1);
        // Whoever has begun meanwhile opens it himself.
        if (file < next.load() || file >= files.size()) {
            continue;
        }
        const walked_file& wanted = files[file];
        owned_descriptor found = open_source(source->descriptor(), wanted.name.constData(),
                                             wanted.is_link ? link_rule::follow : link_rule::refuse);
        if (found.is_open()) {
            ask_for_beginning(found.get());
            opened[file].store(found.release());
        }
    }
}

void copy_job::close()
{
    for (std::size_t file = 0; file < files.size(); ++file) {
        const owned_descriptor unused(opened[file].exchange(-1));
    }
    source.reset();
    destination.reset();
}

copy_order copy_job::order_for(std::size_t number)
{
    const walked_file& file = files[number];
    const auto fits = [&file](const QByteArray& directory) {
        return directory.size() + 1 + file.name.size() < path_limit();
    };
    return {source->descriptor(),  destination->descriptor.get(), destination->error,
            file.name.constData(), opened[number].exchange(-1),   file.is_link,
            fits(source_path),     fits(destination_path),        &permissions};
}

copy_crew::copy_crew(const std::atomic<bool>& cancelled, content_hashing hashing)
{
    for (std::size_t i = 0; i < thread_count(); ++i) {
        copiers.push_back(std::make_unique<file_copier>(cancelled, hashing, all_bytes_read));
        try {
            threads.emplace_back([this, &copier = *copiers.back()] { run(copier); });
        } catch (const std::system_error&) {
            // A machine without a thread to spare: fewer do it too, and without any the caller works.
            break;
        }
    }
}

copy_crew::~copy_crew()
{
    {
        const std::lock_guard lock(mutex);
        ends = true;
    }
    work_arrived.notify_all();
    for (std::thread& thread : threads) {
        thread.join();
    }
}

void copy_crew::add(const std::shared_ptr<copy_job>& job)
{
    {
        const std::lock_guard lock(mutex);
        jobs.push_back(job);
    }
    if (threads.empty()) {
        job->work(*copiers.front());
        finish(job);
        return;
    }
    work_arrived.notify_one();
}

std::size_t copy_crew::unfinished() const
{
    const std::lock_guard lock(mutex);
    return jobs.size();
}

void copy_crew::wait_for_progress()
{
    constexpr auto longest = std::chrono::milliseconds(50);
    std::unique_lock lock(mutex);
    job_finished.wait_for(lock, longest, [this] { return has_finished_job; });
    has_finished_job = false;
}

void copy_crew::run(file_copier& copier)
{
    std::unique_lock lock(mutex);
    while (true) {
        std::shared_ptr<copy_job> job;
        work_arrived.wait(lock, [&] { return ends || (job = job_with_work()); });
        if (!job) {
            return;
        }
        lock.unlock();
        if (job->work(copier)) {
            finish(job);
        }
        lock.lock();
    }
}

std::shared_ptr<copy_job> copy_crew::job_with_work() const
{
    // Directories of their own do not make the threads wait for each other.
    const auto untouched = std::find_if(jobs.begin(), jobs.end(), [](const auto& job) { return job->is_untouched(); });
    if (untouched != jobs.end()) {
        return *untouched;
    }
    const auto unfinished = std::find_if(jobs.begin(), jobs.end(), [](const auto& job) { return job->has_work(); });
    return unfinished != jobs.end() ? *unfinished : nullptr;
}

void copy_crew::finish(const std::shared_ptr<copy_job>& job)
{
    job->close();
    {
        const std::lock_guard lock(mutex);
        jobs.erase(std::find(jobs.begin(), jobs.end(), job));
        has_finished_job = true;
    }
    job_finished.notify_one();
}

#include "cli/run.h"

#include <malloc.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "cli/page_job.h"
#include "cli/report.h"
#include "files/failure.h"
#include "files/image_read.h"

namespace tool {

namespace {

// Hands out pages in order and prints their results in the same order, whichever is done first.
class Run {
 public:
  Run(const Options& options, std::vector<files::Input> inputs, files::Decoders& decoders)
      : options_(options),
        inputs_(std::move(inputs)),
        claims_(inputs_),
        decoders_(decoders),
        reporter_(options) {
    if (options.command == Command::kReport) {
      claims_.claim(options.target.file, false);
      report_ = std::make_unique<ReportFile>(options.target.file, options.overwrite);
    }
  }

  int execute() {
    start_workers();
    work();
    for (auto& thread : others_) thread.join();
    reporter_.clear_progress();
    if (report_ && trouble_.empty()) report_->finish();
    if (trouble_.empty()) trouble_ = reporter_.lost();
    if (!trouble_.empty()) throw files::Failure(trouble_);
    return reporter_.failed() ? 1 : 0;
  }

 private:
  struct Task {
    std::shared_ptr<FileJob> job;
    int page = 0;
    size_t number = 0;  // in the order of printing
  };

  // The workers besides this thread. Where not all can be started, the last go again before any begins, since so
  // many leave no room for the pages.
  void start_workers() {
    try {
      for (int i = 1; i < options_.jobs; ++i) others_.emplace_back([this, i] { wait_and_work(i); });
      begin(options_.jobs, options_.jobs);
    } catch (const std::system_error&) {
      const size_t kept = others_.size() / 4;
      begin(static_cast<int>(kept) + 1, 0);
      for (size_t i = kept; i < others_.size(); ++i) others_[i].join();
      others_.resize(kept);
      begin(options_.jobs, options_.jobs);
    }
  }

  void begin(int wanted, int beginning) {
    const std::lock_guard<std::mutex> lock(tasks_);
    wanted_ = wanted;
    beginning_ = beginning;
    begin_.notify_all();
  }

  void wait_and_work(int worker) {
    {
      std::unique_lock<std::mutex> lock(tasks_);
      begin_.wait(lock, [&] { return worker >= wanted_ || worker < beginning_; });
      if (worker >= wanted_) return;
    }
    work();
  }

  bool next(Task& task) {
    const std::lock_guard<std::mutex> lock(tasks_);
    if (stopped_) return false;
    if (!job_ || page_ == job_->pages()) {
      if (file_ == inputs_.size()) return false;
      const files::Input& input = inputs_[file_++];
      job_ = std::make_shared<FileJob>(input, options_, claims_, decoders_);
      page_ = 0;
      const std::lock_guard<std::mutex> printing(printing_);
      reporter_.show_progress(file_, inputs_.size(), input.name);
    }
    task = {job_, page_++, task_++};
    return true;
  }

  // A page that is done waits in done_ until those before it are printed; its worker goes on. Pages of one result
  // wait for each other, since none is straightened if the file is not written.
  void work() {
    for (Task task; next(task);) {
      PageResult result = task.job->run_page(task.page);
      const std::lock_guard<std::mutex> lock(printing_);
      done_.emplace(task.number, Done{std::move(task.job), std::move(result)});
      for (auto first = done_.begin(); can_print(first); first = done_.begin()) {
        first->second.job->settle(first->second.result);
        reporter_.show(first->second.result);
        add_to_report(first->second.result);
        done_.erase(first);
        ++printed_;
      }
      stopped_ = stopped_ || !reporter_.lost().empty();
    }
  }

  struct Done {
    std::shared_ptr<FileJob> job;
    PageResult result;
  };

  bool can_print(std::map<size_t, Done>::iterator first) const {
    return first != done_.end() && first->first == printed_ && first->second.job->settled();
  }

  void add_to_report(const PageResult& result) {
    if (!report_ || !trouble_.empty()) return;
    try {
      report_->add(result);
    } catch (const files::Failure& failure) {
      trouble_ = failure.what();
    }
  }

  const Options& options_;
  const std::vector<files::Input> inputs_;
  files::Claims claims_;
  files::Decoders& decoders_;
  std::mutex tasks_;
  std::atomic<bool> stopped_{false};  // nobody reads what is said any more
  std::condition_variable begin_;
  int wanted_ = 256, beginning_ = 0;  // workers from the one number on go, below the other work
  std::vector<std::thread> others_;
  size_t file_ = 0, task_ = 0;
  int page_ = 0;
  std::shared_ptr<FileJob> job_;

  std::mutex printing_;
  size_t printed_ = 0;
  std::map<size_t, Done> done_;
  Reporter reporter_;
  std::unique_ptr<ReportFile> report_;
  std::string trouble_;  // why there will be no report
};

void spool_standard_input(const std::string& path) {
  FILE* out = std::fopen(path.c_str(), "wb");
  if (!out) throw files::Failure("standard input cannot be kept in " + path);
  std::vector<char> block(1 << 16);
  bool good = true;
  for (ssize_t got; (got = read(0, block.data(), block.size())) > 0;)
    good = good && std::fwrite(block.data(), 1, static_cast<size_t>(got), out) == static_cast<size_t>(got);
  if (std::fclose(out) != 0 || !good) throw files::Failure("standard input cannot be kept in " + path);
}

// For the largest page that may be decoded, with all that decoders keep besides; 0 where there is no largest.
uint64_t decoder_memory(const Options& options) {
  return options.max_pixels == 0 ? 0 : (uint64_t{1} << 30) + 12 * static_cast<uint64_t>(options.max_pixels);
}

}  // namespace

int run(const Options& options) {
  // Before there are threads, which the image library starts as well.
  files::Decoders decoders({options.jobs, options.page_timeout, decoder_memory(options)});
  mallopt(M_ARENA_MAX, 4);  // pages are large: many pools of small memory would only take up addresses
  files::clean_up_on_signals();
  files::start_image_library("skewcorrect");
  std::unique_ptr<files::TempFile> spool;
  for (const auto& input : options.inputs) {
    if (input != "-") continue;
    if (spool) throw files::Failure("standard input can be given only once");
    spool = std::make_unique<files::TempFile>("", "");
    spool_standard_input(spool->path());
  }
  Run all(options,
          files::find_inputs(options.inputs, options.recursive, options.target.folder,
                             spool ? spool->path() : ""),
          decoders);
  return all.execute();
}

}  // namespace tool

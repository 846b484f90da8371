#include "tools/mdtorrent/import/worker.h"

#include <Foundation/Foundation.h>
#include <pthread.h>
#include <sys/resource.h>

#include <list>

#include "tools/mdtorrent/import/attributes.h"

namespace mdtorrent {
namespace {

// Imports one file and leaves its record in `buffer`; returns why there are no attributes.
std::optional<Failure> ImportItem(const PathItem& item, Importer& importer, RecordWriter& writer) {
  if (item.failure) {
    return item.failure;
  }
  NSAutoreleasePool* pool = [NSAutoreleasePool new];
  NSMutableDictionary* attributes = [NSMutableDictionary new];
  const std::optional<Failure> failure = importer.Import(item.path, attributes);
  if (!failure) {
    writer.WriteImported(item.path, DictionaryAttributes(attributes));
  }
  [attributes release];
  [pool release];
  return failure;
}

// What is said on standard error: nothing where the record itself tells of the failure.
std::string Complaint(const Job& job, const PathItem& item, const Failure& failure) {
  return job.format() == Format::kMdls ? ComplaintLine(item.path, failure.reason) : std::string();
}

void Work(Job& job, Importer& importer) {
  RecordBuffer buffer(job.output());
  const std::unique_ptr<RecordWriter> writer = MakeRecordWriter(job.format(), job.show_paths(), buffer);
  while (const std::optional<Job::Task> task = job.Next()) {
    buffer.Start(task->number);
    const std::optional<Failure> failure = ImportItem(task->item, importer, *writer);
    if (!failure) {
      buffer.Finish(Outcome::kImported, "");
      continue;
    }
    writer->WriteFailed(task->item.path, failure->reason);
    buffer.Finish(failure->outcome, Complaint(job, task->item, *failure));
  }
}

// The stack that the main thread may use: importers size their temporary buffers by it.
size_t MainStackSize() {
  constexpr rlim_t kUsual = 8 << 20;
  rlimit limit;
  const bool finite = getrlimit(RLIMIT_STACK, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY;
  return finite && limit.rlim_cur > kUsual ? limit.rlim_cur : kUsual;
}

// A thread that works on a job with its own importer. It is one of the system's own, as Foundation
// has no way to wait for the end of its threads.
class Worker {
 public:
  Worker(Job& job, Importer& importer) : job_(job), importer_(importer) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, MainStackSize());
    started_ = pthread_create(&thread_, &attributes, Main, this) == 0;
    pthread_attr_destroy(&attributes);
  }
  ~Worker() {
    if (started_) {
      pthread_join(thread_, nullptr);
    }
  }
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

 private:
  static void* Main(void* argument) {
    const auto* worker = static_cast<Worker*>(argument);
    NSAutoreleasePool* pool = [NSAutoreleasePool new];
    Work(worker->job_, worker->importer_);
    [pool release];
    return nullptr;
  }

  Job& job_;
  Importer& importer_;
  pthread_t thread_;
  bool started_;  // when the system has no thread to give, the others do the work
};

}  // namespace

void ImportAll(Job& job, const std::vector<std::unique_ptr<Importer>>& importers) {
  std::list<Worker> workers;
  for (size_t i = 1; i < importers.size(); ++i) {
    workers.emplace_back(job, *importers[i]);
  }
  Work(job, *importers[0]);
}

}  // namespace mdtorrent

#include "tools/mdtorrent/import/worker.h"

#include <Foundation/Foundation.h>
#include <sys/resource.h>
#include <unistd.h>

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
  std::optional<Failure> failure;
  if (importer.Import(item.path, attributes)) {
    writer.WriteImported(item.path, DictionaryAttributes(attributes));
  } else {
    failure = Diagnose(item.path);
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
NSUInteger MainStackSize() {
  constexpr rlim_t kUsual = 8 << 20;
  rlimit limit;
  const bool finite = getrlimit(RLIMIT_STACK, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY;
  return finite && limit.rlim_cur > kUsual ? limit.rlim_cur : kUsual;
}

}  // namespace
}  // namespace mdtorrent

// A thread that Foundation knows, working on a job with its own importer.
@interface MDTWorker : NSThread {
  mdtorrent::Job* job_;
  mdtorrent::Importer* importer_;
}
- (id)initWithJob:(mdtorrent::Job*)job importer:(mdtorrent::Importer*)importer;
- (void)join;
@end

@implementation MDTWorker

- (id)initWithJob:(mdtorrent::Job*)job importer:(mdtorrent::Importer*)importer {
  self = [super init];
  if (self) {
    job_ = job;
    importer_ = importer;
    [self setStackSize:mdtorrent::MainStackSize()];
  }
  return self;
}

- (void)main {
  mdtorrent::Work(*job_, *importer_);
}

// Foundation has no way to wait for a thread; one that has no more work ends in no time.
- (void)join {
  while (![self isFinished]) {
    usleep(100);
  }
}

@end

namespace mdtorrent {

void ImportAll(Job& job, const std::vector<std::unique_ptr<Importer>>& importers) {
  NSMutableArray* threads = [NSMutableArray new];
  for (size_t i = 1; i < importers.size(); ++i) {
    MDTWorker* worker = [[MDTWorker alloc] initWithJob:&job importer:importers[i].get()];
    [worker start];
    [threads addObject:worker];
    [worker release];
  }
  Work(job, *importers[0]);
  for (NSUInteger i = 0; i < [threads count]; ++i) {
    [[threads objectAtIndex:i] join];
  }
  [threads release];
}

}  // namespace mdtorrent

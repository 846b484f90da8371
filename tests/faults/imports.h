// Imports on many threads, compared with those of a single one.
#pragma once

#include <CoreServices/CoreServices.h>
#include <Foundation/Foundation.h>

#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "tests/plugin/torrent_bytes.h"

namespace faults {

using ImportFunction = std::function<bool(CFMutableDictionaryRef attributes, CFURLRef url)>;
using Outcome = std::map<std::string, std::string>;  // empty when the file was refused

inline std::string TextOf(id object) { return [[object description] UTF8String]; }

inline Outcome ImportOnce(const ImportFunction& import, NSURL* url) {
  NSAutoreleasePool* pool = [NSAutoreleasePool new];
  NSMutableDictionary* attributes = [NSMutableDictionary dictionary];
  Outcome outcome;
  if (import((CFMutableDictionaryRef)attributes, (CFURLRef)url)) {
    outcome["imported"] = "yes";
  }
  NSArray* keys = [attributes allKeys];
  for (NSUInteger i = 0; i < [keys count]; i++) {
    outcome[TextOf([keys objectAtIndex:i])] = TextOf([attributes objectForKey:[keys objectAtIndex:i]]);
  }
  [pool release];
  return outcome;
}

// Files of every kind that an import tells apart.
inline std::vector<std::string> MixedFiles() {
  TorrentBytes single;
  single.texts = {{"announce", "http://tracker.example/"}, {"comment", "One \xE2\x82\xAC"}, {"created by", "A maker"}};
  TorrentBytes several;
  several.texts = {{"comment", "Several"}, {"url-list", "http://seed.example/"}};
  for (int i = 0; i < 12; i++) {
    several.files.emplace_back("file " + std::to_string(i), i + 1);
  }
  TorrentBytes encoded = several;
  encoded.texts = {{"comment", "Caf\xE9"}, {"encoding", "Windows-1252"}};
  encoded.files.emplace_back("caf\xE9.txt", 3);
  const std::string nested = "d1:a" + std::string(2000, 'l');
  return {single.Build(), several.Build(), encoded.Build(), several.Build().substr(0, 300), "", nested};
}

// A thread that Foundation knows.
template <class Body>
std::thread PlatformThread(Body body) {
  return std::thread([body] {
    GSRegisterCurrentThread();
    body();
    GSUnregisterCurrentThread();
  });
}

inline void JoinAll(std::vector<std::thread>& threads) {
  for (std::thread& thread : threads) {
    thread.join();
  }
}

}  // namespace faults

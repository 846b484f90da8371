// Platform objects as texts, by which tests compare them.
#pragma once

#import <Foundation/Foundation.h>

#include <algorithm>
#include <string>
#include <vector>

#import "tests/reader/pool.h"

std::string Shown(id object);

inline std::string Joined(char open, const std::vector<std::string>& texts, char close) {
  std::string joined(1, open);
  for (const std::string& text : texts) {
    joined += text + ";";
  }
  return joined + close;
}

inline std::vector<std::string> ShownEach(NSEnumerator* objects) {
  std::vector<std::string> texts;
  while (id object = [objects nextObject]) {
    texts.push_back(Shown(object));
  }
  return texts;
}

inline std::vector<std::string> Sorted(std::vector<std::string> texts) {
  std::sort(texts.begin(), texts.end());
  return texts;
}

inline std::vector<std::string> ShownPairs(NSDictionary* pairs) {
  std::vector<std::string> texts;
  NSArray* keys = [pairs allKeys];
  for (NSUInteger i = 0; i < [keys count]; ++i) {
    id key = [keys objectAtIndex:i];
    texts.push_back(Shown(key) + "=" + Shown([pairs objectForKey:key]));
  }
  return texts;
}

// What an object holds: the elements of an array or an enumeration in their order, those of a set or a
// dictionary in an order of their own, the description of anything else.
inline std::string Shown(id object) {
  if ([object isKindOfClass:[NSDictionary class]]) {
    return Joined('{', Sorted(ShownPairs(object)), '}');
  }
  if ([object isKindOfClass:[NSSet class]]) {
    return Joined('<', Sorted(ShownEach([object objectEnumerator])), '>');
  }
  if ([object isKindOfClass:[NSArray class]]) {
    return Joined('(', ShownEach([object objectEnumerator]), ')');
  }
  if ([object isKindOfClass:[NSEnumerator class]]) {
    return Joined('(', ShownEach(object), ')');
  }
  return Text([object description]);
}

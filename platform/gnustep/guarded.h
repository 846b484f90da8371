// The edge between the C functions offered here and the Foundation code behind them.
#pragma once

#include <Foundation/Foundation.h>

// Runs `body` in an autorelease pool of its own and returns its result; null when anything is raised
// in it. The result must not belong to the pool.
template <typename Body>
auto Guarded(Body body) {
  NSAutoreleasePool* pool = [NSAutoreleasePool new];
  decltype(body()) result = nullptr;
  try {
    result = body();
  } catch (...) {
    // Foundation raises where the system's functions return null.
    result = nullptr;
  }
  [pool release];
  return result;
}

// What a scope owns, given up however the scope is left: exceptions of Foundation pass through it too.
#pragma once

#import <Foundation/Foundation.h>

#include "core/base/mem1.h"

namespace reader {

// A block from the library's allocator.
template <class T>
struct Block {
  T* const p;

  explicit Block(T* block) : p(block) {}
  Block(const Block&) = delete;
  Block& operator=(const Block&) = delete;
  ~Block() { core::MyFree(p); }
};

// A reference to an object, or nil.
template <class T>
class Owned {
 public:
  explicit Owned(T* object) : object_(object) {}
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;
  ~Owned() { [object_ release]; }

  T* get() const { return object_; }

  // Hands the reference to the caller.
  T* Take() {
    T* object = object_;
    object_ = nil;
    return object;
  }

 private:
  T* object_;
};

}  // namespace reader

// The component model's result codes, its base interface and the head of every interface table.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

using HRESULT = SInt32;
using ULONG = UInt32;
using LPVOID = void*;
using REFIID = CFUUIDBytes;  // sixteen bytes, passed by value

#define S_OK ((HRESULT)0)
#define E_NOINTERFACE ((HRESULT)0x80000004)
#define E_POINTER ((HRESULT)0x80000005)

#define IUnknownUUID                                                                                              \
  CFUUIDGetConstantUUIDWithBytes(kCFAllocatorDefault, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xC0, 0x00, \
                                 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)

#define IUNKNOWN_C_GUTS                                                        \
  void* _reserved;                                                             \
  HRESULT (*QueryInterface)(void* thisPointer, REFIID interface, LPVOID* ppv); \
  ULONG (*AddRef)(void* thisPointer);                                          \
  ULONG (*Release)(void* thisPointer)

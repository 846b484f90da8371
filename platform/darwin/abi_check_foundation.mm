// The part of the binary interface that Objective-C, CoreFoundation and Foundation add.
#include <CoreFoundation/CFPlugInCOM.h>
#include <CoreServices/CoreServices.h>
#include <Foundation/Foundation.h>
#include <stddef.h>

#include <type_traits>

namespace {

using std::is_same_v;

#ifdef __x86_64__
static_assert(is_same_v<BOOL, signed char>);
#else
static_assert(is_same_v<BOOL, bool>);
#endif
static_assert(is_same_v<NSInteger, long> && is_same_v<NSUInteger, unsigned long>);
static_assert(is_same_v<unichar, unsigned short> && is_same_v<NSTimeInterval, double>);
static_assert(NSOrderedSame == 0 && NSLiteralSearch == 2);
static_assert(sizeof(NSComparisonResult) == 8 && sizeof(NSStringCompareOptions) == 8);
static_assert(sizeof(NSRange) == 16 && offsetof(NSRange, length) == 8);
static_assert(sizeof(NSFastEnumerationState) == 64);
static_assert(offsetof(NSFastEnumerationState, itemsPtr) == 8 && offsetof(NSFastEnumerationState, mutationsPtr) == 16);

static_assert(is_same_v<Boolean, unsigned char> && is_same_v<CFIndex, long>);
static_assert(sizeof(CFUUIDBytes) == 16 && alignof(CFUUIDBytes) == 1 && offsetof(CFUUIDBytes, byte15) == 15);
static_assert(is_same_v<REFIID, CFUUIDBytes> && sizeof(HRESULT) == 4 && sizeof(ULONG) == 4);
static_assert(static_cast<HRESULT>(-1) < 0 && static_cast<ULONG>(-1) > 0);
static_assert(S_OK == 0 && E_NOINTERFACE == static_cast<HRESULT>(0x80000004) &&
              E_POINTER == static_cast<HRESULT>(0x80000005));
static_assert(sizeof(CFURLPathStyle) == 8 && kCFURLPOSIXPathStyle == 0);
static_assert(sizeof(MDImporterInterfaceStruct) == 40 && offsetof(MDImporterInterfaceStruct, QueryInterface) == 8 &&
              offsetof(MDImporterInterfaceStruct, ImporterImportData) == 32);

// Sixteen bytes, not sixteen integers: arm64 packs arguments on the stack by their size.
[[maybe_unused]] CFUUIDRef (*const kConstantUUID)(CFAllocatorRef, UInt8, UInt8, UInt8, UInt8, UInt8, UInt8, UInt8,
                                                  UInt8, UInt8, UInt8, UInt8, UInt8, UInt8, UInt8, UInt8,
                                                  UInt8) = CFUUIDGetConstantUUIDWithBytes;

}  // namespace

// Methods of Foundation that raise where a test says, instead of doing what they do.
#pragma once

namespace faults {

enum class Raised { kNothing, kPlatformException, kBadAlloc, kNumber };

// Takes the methods that the importer calls under control, for good. Needs no undoing: they do what
// they always did until RaiseAt is called.
void ControlFoundation();

// From now on the `call`-th call of a controlled method raises `what`, once; calls are counted from 1.
// Calls that a controlled method makes itself do not count.
void RaiseAt(long call, Raised what);

// Calls since the last RaiseAt.
long ControlledCalls();

}  // namespace faults

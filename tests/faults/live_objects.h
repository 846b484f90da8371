// What Foundation objects there are.
#pragma once

#include <map>
#include <string>

namespace faults {

// From now on objects are counted, or no longer.
void CountObjects(bool on);

// How many objects of each class were made and not freed since CountObjects; nothing of the classes of
// which there are as many as before.
std::map<std::string, int> LiveObjects();

}  // namespace faults

#include "tests/macho/loaded_image.h"

#include <memory>

#include "tests/macho/objc_bridge.h"
#include "tests/macho/unwind.h"

namespace macho {
namespace {

Image& Load(const std::string& path, const Resolver& resolve) {
  auto image = std::make_unique<Image>(ReadFile(path), resolve);
  AttachObjectiveC(*image);
  image->Protect();
  RegisterUnwinding(*image);
  // The runtime and the unwinder keep pointers into it from now on.
  static auto* loaded = new std::vector<std::unique_ptr<Image>>;
  loaded->push_back(std::move(image));
  loaded->back()->Initialise();
  return *loaded->back();
}

}  // namespace

Image& LoadForGood(const std::string& path, const Resolver& resolve) {
  try {
    return Load(path, resolve);
  } catch (const Refusal& refusal) {
    throw Refusal(path + ": " + refusal.what());
  }
}

}  // namespace macho

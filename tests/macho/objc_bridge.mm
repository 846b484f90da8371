#include "tests/macho/objc_bridge.h"

#include <Foundation/Foundation.h>
#include <objc/message.h>
#include <objc/runtime.h>
#include <string.h>

#include "tests/macho/objc_metadata.h"

namespace macho {
namespace {

// How constant strings look here.
struct LocalConstantString {
  Class isa;
  const char* utf8;
  unsigned len;
};
static_assert(sizeof(LocalConstantString) <= sizeof(apple::ConstantString), "rewritten in place");

constexpr uint32_t kRelativeMethods = 0x80000000;
constexpr uint32_t kEntrySizeMask = 0xFFFC;

// What no source of the bundle makes the compiler write.
constexpr const char* kUnsupported[] = {"__objc_msgrefs", "__objc_protorefs", "__objc_nlcatlist", "__objc_nlclslist"};

class Bridge {
 public:
  explicit Bridge(Image& image) : image_(image) {}

  void Run() {
    for (const char* name : kUnsupported) {
      if (!image_.SectionNamed(name).empty()) {
        throw Refusal(std::string("section ") + name + " is not supported");
      }
    }
    for (apple::ClassRecord* record : Words<apple::ClassRecord*>("__objc_classlist")) {
      Add(record);
    }
    for (const apple::Category* category : Words<const apple::Category*>("__objc_catlist")) {
      AddCategory(category);
    }
    // After the methods: relative ones name their selectors through these words.
    for (const char*& word : Words<const char*>("__objc_selrefs")) {
      const SEL selector = sel_registerName(Checked(word, 1));
      memcpy(&word, &selector, sizeof word);
    }
    for (const char* section : {"__objc_classrefs", "__objc_superrefs"}) {
      for (const void*& word : Words<const void*>(section)) {
        word = Known(word);
      }
    }
    for (apple::ConstantString& string : Words<apple::ConstantString>("__cfstring")) {
      Rewrite(string);
    }
  }

 private:
  template <class T>
  std::span<T> Words(const char* section) const {
    const std::span<uint8_t> bytes = image_.SectionNamed(section);
    if (bytes.size() % sizeof(T) != 0) {
      throw Refusal(std::string("section ") + section + " has no sound size");
    }
    return {reinterpret_cast<T*>(bytes.data()), bytes.size() / sizeof(T)};
  }

  // A pointer that must lead to `count` objects inside the image.
  template <class T>
  T* Checked(T* pointer, uint64_t count) const {
    if (!image_.Contains(pointer, count * sizeof(T))) {
      throw Refusal("the Objective-C records lead outside the image");
    }
    return pointer;
  }

  // The class of a record of the image, or one that was bound to the runtime's own.
  Class Known(const void* reference) const {
    if (!image_.Contains(reference)) {
      return static_cast<Class>(const_cast<void*>(reference));
    }
    const auto found = classes_.find(reference);
    if (found == classes_.end()) {
      throw Refusal("a reference to a class that the image does not list");
    }
    return found->second;
  }

  apple::Method MethodAt(const uint8_t* entry, bool relative) const {
    if (!relative) {
      apple::Method method;
      memcpy(&method, entry, sizeof method);
      return method;
    }
    apple::RelativeMethod offsets;
    memcpy(&offsets, entry, sizeof offsets);
    const auto* name = reinterpret_cast<const char* const*>(entry + offsets.name);
    const auto* code = entry + offsetof(apple::RelativeMethod, code) + offsets.code;
    return {*Checked(name, 1),
            reinterpret_cast<const char*>(entry + offsetof(apple::RelativeMethod, types) + offsets.types),
            reinterpret_cast<IMP>(const_cast<uint8_t*>(code))};
  }

  // Replacing alone would change the class above, where it has a method that is not yet in `target`.
  static void SetMethod(Class target, SEL selector, IMP code, const char* types) {
    if (!class_addMethod(target, selector, code, types)) {
      class_replaceMethod(target, selector, code, types);
    }
  }

  void AddMethods(Class target, const apple::MethodList* list) const {
    if (!list) {
      return;
    }
    const uint32_t head = Checked(list, 1)->entry_size_and_flags;
    const bool relative = (head & kRelativeMethods) != 0;
    const uint32_t size = head & kEntrySizeMask;
    if (size != (relative ? sizeof(apple::RelativeMethod) : sizeof(apple::Method))) {
      throw Refusal("methods of an unknown size");
    }
    const auto* entries = Checked(reinterpret_cast<const uint8_t*>(list + 1), uint64_t{size} * list->count);
    for (uint32_t i = 0; i < list->count; i++) {
      const apple::Method method = MethodAt(entries + uint64_t{size} * i, relative);
      SetMethod(target, sel_registerName(Checked(method.name, 1)), method.code, Checked(method.types, 1));
    }
  }

  std::vector<apple::Ivar> Ivars(const apple::ClassData* data) const {
    std::vector<apple::Ivar> ivars;
    if (const apple::IvarList* list = data->ivars) {
      const auto* entries = reinterpret_cast<const apple::Ivar*>(Checked(list, 1) + 1);
      if (list->entry_size != sizeof(apple::Ivar)) {
        throw Refusal("instance variables of an unknown size");
      }
      ivars.assign(Checked(entries, list->count), entries + list->count);
    }
    return ivars;
  }

  Class Add(apple::ClassRecord* record) {
    const auto found = classes_.find(record);
    if (found != classes_.end()) {
      return found->second;
    }
    const apple::ClassData* data = Checked(Checked(record, 1)->data, 1);
    const char* name = Checked(data->name, 1);
    const Class super = image_.Contains(record->superclass) ? Add(record->superclass) : Known(record->superclass);
    if (objc_lookUpClass(name)) {
      throw Refusal(std::string("class ") + name + " exists already");
    }
    const Class made = super ? objc_allocateClassPair(super, name, 0) : Nil;
    if (!made) {
      throw Refusal(std::string("class ") + name + " cannot be made");
    }
    const std::vector<apple::Ivar> ivars = Ivars(data);
    for (const apple::Ivar& ivar : ivars) {
      class_addIvar(made, ivar.name, ivar.size, static_cast<uint8_t>(ivar.alignment_log2), ivar.type);
    }
    objc_registerClassPair(made);
    AddMethods(made, data->methods);  // not before: until then the runtime keeps names in place of selectors
    AddMethods(object_getClass((id)made), Checked(Checked(record->meta, 1)->data, 1)->methods);
    CheckLayout(made, data, ivars);
    classes_[record] = made;
    classes_[record->meta] = object_getClass((id)made);
    return made;
  }

  // The compiler folds the places of instance variables into the code, so they are not free to move.
  void CheckLayout(Class made, const apple::ClassData* data, const std::vector<apple::Ivar>& ivars) const {
    for (const apple::Ivar& ivar : ivars) {
      const Ivar found = class_getInstanceVariable(made, ivar.name);
      if (!found || ivar_getOffset(found) != *Checked(ivar.offset, 1)) {
        throw Refusal(std::string("instance variable ") + ivar.name + " of " + data->name + " has another place here");
      }
    }
    if (class_getInstanceSize(made) < data->instance_size) {
      throw Refusal(std::string("instances of ") + data->name + " are smaller here");
    }
  }

  void AddCategory(const apple::Category* category) const {
    const Class target = Known(Checked(category, 1)->target);
    AddMethods(target, category->instance_methods);
    AddMethods(object_getClass((id)target), category->class_methods);
  }

  void Rewrite(apple::ConstantString& string) const {
    LocalConstantString local = {
        [NSString constantStringClass], static_cast<const char*>(string.text), static_cast<unsigned>(string.units)};
    if (string.kind == apple::ConstantString::kUtf16) {
      local = Converted(string);
    } else if (string.kind != apple::ConstantString::kAscii) {
      throw Refusal("a constant string of an unknown kind");
    }
    Checked(static_cast<const char*>(string.text), string.units);
    memcpy(&string, &local, sizeof local);
  }

  // Its text lasts as long as the process, as the string does.
  LocalConstantString Converted(const apple::ConstantString& string) const {
    const auto* units = Checked(static_cast<const unichar*>(string.text), string.units);
    NSString* text = [[NSString alloc] initWithCharacters:units length:string.units];
    const char* utf8 = [text UTF8String];
    static auto* texts = new std::vector<std::string*>;
    texts->push_back(new std::string(utf8));
    [text release];
    return {[NSString constantStringClass], texts -> back() -> c_str(), static_cast<unsigned>(texts->back()->size())};
  }

  Image& image_;
  std::map<const void*, Class> classes_;  // records of classes and of their metaclasses
};

}  // namespace

void AttachObjectiveC(Image& image) {
  NSAutoreleasePool* pool = [NSAutoreleasePool new];
  Bridge(image).Run();
  [pool release];
}

}  // namespace macho

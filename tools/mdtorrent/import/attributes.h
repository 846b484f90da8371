// The attributes that an importer wrote, as a source for the output formats.
#pragma once

#include <Foundation/Foundation.h>

#include "tools/mdtorrent/output/record_writer.h"

namespace mdtorrent {

class DictionaryAttributes : public AttributeSource {
 public:
  // `attributes` must outlive this object and not change meanwhile.
  explicit DictionaryAttributes(NSDictionary* attributes) : attributes_(attributes) {}

  // Numbers and strings stay what they are; objects of other kinds, such as dates, are written as
  // the text that they describe themselves with.
  void WriteTo(ValueWriter& writer) const override;

 private:
  NSDictionary* attributes_;
};

}  // namespace mdtorrent

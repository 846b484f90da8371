// What the emitted forms of a tree of the bencoding model have to be.
#pragma once

#include <string>

#include "tests/support/benc_model.h"

namespace emit_model {

// Whether `test` holds for every key and, if `texts`, for every string.
bool AllTexts(const benc_model::Value& value, bool texts, bool (*test)(const std::string&));

// The XML with the outer tag `tag`, at level 0, as long as no tag is cut.
std::string Xml(const benc_model::Value& value, const std::string& tag);

// The JSON, as long as all texts are ASCII.
std::string Json(const benc_model::Value& value);

// Whether an XML parser reads the document to its end.
bool IsXml(const std::string& document);

// Whether a JSON parser reads the document: any value, or exactly `value`.
bool IsJson(const std::string& document);
bool IsJsonOf(const std::string& document, const benc_model::Value& value);

}  // namespace emit_model

// The whole plug-in on a file's bytes, compared with the model of the reader.
#pragma once

#include <string>
#include <string_view>

// Imports a file of exactly these bytes twice, through each interface of the plug-in object, reads its record
// with the reader, and returns what is not as the rules have it; "" when all is.
//
// Checked: a refusal leaves a dictionary that holds other values under the same keys as it was; a success
// writes what the model says and nothing else; every field of the record; blocks of the library, objects of
// Foundation and file descriptors are given back.
std::string ImportFault(std::string_view torrent);

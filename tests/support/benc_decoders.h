// Every way of decoding against the bencoding model.
#pragma once

#include <string>
#include <string_view>

// What the first way of decoding that disagrees with the model about `input` is called; empty when all
// agree on success, the end, the tree, the named element, and on leaving the input alone.
std::string DecodersDisagreement(std::string_view input);

#pragma once

extern "C" int tolower(int c);

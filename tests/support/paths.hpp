// Where the programs under test and the reference networks lie. The build writes paths.cpp.
#pragma once

namespace korvane::testing {

extern const char* const BIN_DIRECTORY;   // the programs and their catalogue
extern const char* const DATA_DIRECTORY;  // the reference networks, beside the checkout

}  // namespace korvane::testing

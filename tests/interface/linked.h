// The files of this folder declare the interface as a caller does who has none of the library's
// headers: records by name only, functions by name and parameter types, which together make the
// symbol. That the test program links is what they show.
#pragma once

#include <algorithm>
#include <cstdint>

// Keeps each function's address, so that the linker has to find its symbol.
template <typename... Functions>
bool all_linked(Functions*... functions) {
  const volatile uintptr_t addresses[] = {reinterpret_cast<uintptr_t>(functions)...};
  return std::none_of(addresses, addresses + sizeof...(functions),
                      [](uintptr_t address) { return address == 0; });
}

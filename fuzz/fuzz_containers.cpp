// The input is a script that drives a container beside a model of it.

#include <cstdint>
#include <string>
#include <string_view>

#include "container_script.h"
#include "require.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view script(reinterpret_cast<const char*>(data), size);
  const std::string fault = ruvex::container_script(script).run();
  ruvex::require(fault.empty(), fault.c_str());
  return 0;
}

#include "line_settings.h"

#include <algorithm>
#include <iterator>

namespace ruvex {
namespace {

// clang-format off
constexpr rate rates[] = {
    {  2400, B2400,   rate_user::number},
    {  4800, B4800,   rate_user::number},
    {  9600, B9600,   rate_user::change},
    { 19200, B19200,  rate_user::change},
    { 38400, B38400,  rate_user::change},
    { 57600, B57600,  rate_user::change},
    {115200, B115200, rate_user::change},
};
// clang-format on

}  // namespace

const rate* find_rate(std::int32_t baud, rate_user user) noexcept {
  const rate* found = std::ranges::find(rates, baud, &rate::baud);
  return found == std::end(rates) || found->last_user < user ? nullptr : found;
}

}  // namespace ruvex

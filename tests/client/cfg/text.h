#pragma once

// A file of the user's own, which is called as one of the library's.
inline constexpr int users_own = 0;

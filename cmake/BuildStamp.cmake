# Writes build_stamp.h: the date and time of the build, as the compiler's own macros give them. With
# SOURCE_DATE_EPOCH set they are taken from it here, since not every compiler follows it.
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  string(TIMESTAMP month "%b" UTC)
  string(TIMESTAMP day "%d" UTC)
  string(TIMESTAMP year "%Y" UTC)
  string(TIMESTAMP time "%H:%M:%S" UTC)
  string(REGEX REPLACE "^0" " " day "${day}")
  set(date "\"${month} ${day} ${year}\"")
  set(time "\"${time}\"")
else()
  set(date "__DATE__")
  set(time "__TIME__")
endif()
file(CONFIGURE OUTPUT ${OUTPUT} @ONLY
     CONTENT "#define RUVEX_BUILD_DATE ${date}\n#define RUVEX_BUILD_TIME ${time}\n")

#include "signals.h"

#include <csignal>
#include <string>

#include "app.h"
#include "converter/unit_list.h"
#include "ruvex/converter/mapping_reader.h"

namespace ruvex {
namespace {

void earlier_handler(int) {}

template <class Call>
std::string printed_by(Call call) {
  testing::internal::CaptureStdout();
  call();
  return testing::internal::GetCapturedStdout();
}

TEST(Signals, DispositionsAreSavedAndPutBackAtTheExit) {
  std::signal(SIGTERM, earlier_handler);
  std::signal(SIGINT, SIG_IGN);
  install_signal_handlers();
  ignore_signals_of_writes();
  for (const int number : {SIGTERM, SIGINT, SIGTERM, SIGINT}) {
    struct sigaction action;
    ASSERT_EQ(::sigaction(number, nullptr, &action), 0);
    EXPECT_EQ(action.sa_handler, signal_handler);
    EXPECT_NE(action.sa_flags & SA_RESTART, 0) << "an interrupted read would fail";
    std::raise(number);
  }
  std::raise(SIGPIPE);
  signal_handler(SIGHUP);

  const temporary_file file;
  const char* path = file.filled_with("0,1,N,5,40001,T,T,1,U,0,0\n0,1,N,6\n");
  EXPECT_EQ(printed_by([path] { EXPECT_EQ(read_csv_file(path), 0); }),
            "SIGINT receivedSIGTERM receivedUnknown signal received");
  EXPECT_EQ(printed_by(log_signals), "") << "each kind is logged once";
  std::raise(SIGTERM);
  EXPECT_EQ(printed_by([] { EXPECT_EQ(terminate_app(), 0); }),
            "terminate_app() enteredSIGTERM receivedRUVEX exiting\r\n");
  EXPECT_EQ(modUnits, nullptr);
  EXPECT_EQ(std::signal(SIGTERM, SIG_DFL), earlier_handler);
  EXPECT_EQ(std::signal(SIGINT, SIG_DFL), SIG_IGN);
  for (const int number : {SIGPIPE, SIGXFSZ}) {
    EXPECT_EQ(std::signal(number, SIG_DFL), SIG_IGN) << "the last messages are still to be written";
  }
}

}  // namespace
}  // namespace ruvex

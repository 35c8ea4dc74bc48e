// A signal handler may do next to nothing, so it sets a flag, and a thread that
// looks at the flag makes the call.
#include "interrupt.h"

#include <chrono>
#include <csignal>

namespace {

volatile std::sig_atomic_t interrupted = 0;

void NoteInterrupt(int signal) {
  interrupted = 1;
  std::signal(signal, SIG_DFL);
}

}  // namespace

void CatchInterrupt() { std::signal(SIGINT, NoteInterrupt); }

bool Interrupted() { return interrupted != 0; }

AbortOnInterrupt::AbortOnInterrupt(MatcherHandle matcher)
    : watcher_([this, matcher] {
        while (!finished_) {
          // Again and again: each pass of a search starts without an abort.
          if (Interrupted()) VXM_AbortIdentify(matcher);
          std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
      }) {}

AbortOnInterrupt::~AbortOnInterrupt() {
  finished_ = true;
  watcher_.join();
}

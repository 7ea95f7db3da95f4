// One use of the library by the command: its context, its messages, what happens when it gives up.
//
// A message of severity S ends the process with exit(0) unless its limit was raised. The session raises the limits of
// all of them, so that a call comes back with its failure value; and should the library still leave by exit(), a
// handler turns that into a line on stderr and the exit code of the phase.
#pragma once

#include <string>
#include <vector>

#include "command.h"
#include "message_log.h"
#include "progress.h"
#include "qrts_c_api.h"

class Session {
public:
  explicit Session(const Options &options);
  ~Session();
  Session(const Session &) = delete;
  Session &operator=(const Session &) = delete;

  QRTContext *context() const { return context_; }
  FILE *output() const { return log_.output(); }
  // Raises the limits of severe messages on a model that was made with controls of its own.
  void raiseLimits(QRTModel *model) const;
  // Lets the user see and stop the iterations of a model.
  void watch(QRTModel *model);
  // The user has asked to stop.
  static bool stopAsked();
  // From here on a failure is the library's (70), not that of a file (65). What the reader warned of goes to stderr. Throws
  // BadInput when it met what it calls an error, such as a number that is none: it went on without that card, so what it
  // holds is another program than the file's.
  void filesAreRead();
  // Throws what follows when no equivalent could be generated: BadInput when the data are the cause.
  [[noreturn]] void noEquivalent();
  // Ends the session's output. Throws BadInput when not all of it, or of the log, could be written.
  void finish();
  bool reading() const { return reading_; }

  // Takes new messages from the log into messages().
  void takeMessages();
  const std::vector<Message> &messages() const { return messages_; }
  // The first severe message, else the first error, with the warning that came just before it; or an empty text.
  std::string complaint();
  // Texts of user messages: what the lenient manner of reading put up with.
  std::vector<std::string> strayings();

  Progress progress;

private:
  const Message *worst() const;

  MessageLog log_;
  QRTContext *context_ = nullptr;
  std::vector<Message> messages_;
  bool reading_ = true;
};

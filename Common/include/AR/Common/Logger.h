#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "AR/Common/Macros.h"
#include "AR/Common/StringPortion.h"

namespace AR::Common {

class ConfigNode;
class LogFilter;
class LogTarget;
class Path;
struct LoggerPIMPL;

/// The process-wide log.
///
/// A line passes the global level or, with kFlagFilter, the filter by method name as well; it is
/// decorated as the flags say and goes to the log file, or, while no file is in use, to the
/// system log, and then to every registered target.
///
/// Any thread may log; lines are serialised. Settings (level, flags, file, targets, filter) are
/// changed without a lock: make them before other threads start. Logging never throws, never
/// stops the program and allocates nothing, not for the first line either; making settings may
/// throw std::bad_alloc. Every line is handed to the system before its call returns. A line logged
/// while another line of the same thread is being written (a failed check inside the logger, a
/// target that logs) is written first, and dropped beyond a small nesting depth. After the exit
/// handlers have run, every method does nothing.
///
/// A process may fork at any time: no other thread is within a line then, so the child finds the
/// settings whole and logs to the same file, which gets no line twice.
class AR_EXPORT Logger {
 public:
  /// A message of level L is written when L is at most the current level. The order is deliberate:
  /// DEBUG ranks below INFO.
  enum LEVEL : int { OFF = 0, ERR = 1, WARNING = 2, DEBUG = 3, INFO = 4, VERBOSE = 5 };

  /// Bits of the flag word. Default: kFlagConsole and kFlagLevelPrefix.
  enum FLAG : unsigned {
    kFlagTimeDate = 0x01,     ///< Prefix local date and time.
    kFlagConsole = 0x02,      ///< Write to the system log while no log file is in use.
    kFlagFunction = 0x04,     ///< Include the method name (and the line number).
    kFlagFilename = 0x08,     ///< Include source file and line on a second line.
    kFlagFilter = 0x10,       ///< Ask the filter by method name.
    kFlagLevelPrefix = 0x20,  ///< Prefix "AR ", the level's name and ": ".
  };

  /// The one logger, built on first use and destroyed at process exit. The reference stays valid
  /// even then; its methods do nothing any more.
  static Logger& getInstance();

  Logger(const Logger&) = delete;
  Logger& operator=(const Logger&) = delete;

  /// Sets the current level and the filter's default level. Default: DEBUG.
  void setLevel(LEVEL level);
  [[nodiscard]] LEVEL getLevel() const;

  void setFlag(unsigned flag, bool on);
  /// True when any of the bits of `flag` is set.
  [[nodiscard]] bool getFlag(unsigned flag) const;

  /// Stores `level` as the fast-trace level; the mask is accepted and ignored.
  void enableFastTrace(unsigned long long mask, LEVEL level);

  /// Appends a sink, which stays the caller's and must be removed before it dies.
  void addTarget(LogTarget* target);
  void removeTarget(LogTarget* target);

  [[nodiscard]] LogFilter& getLogFilter();

  /// Sends later lines to the file `path` (an empty one: to none), which opens lazily at the first
  /// line. Without `append` it starts empty. With `closeAfterWrite` it is closed after every line.
  void setFile(const Path& path, bool append, bool closeAfterWrite);
  /// Empties the log file, when a path is set and the file is not open.
  void clearLogFile();
  /// Opens the log file for appending when a path is set. Returns whether a file is open.
  bool openLogFile();
  void closeLogFile();
  void closeFile();

  /// How many lines were lost since the process began: dropped for their nesting or for want of
  /// memory, or meant for a log file that did not take them whole (a full disk) or could not be
  /// opened, and not taken by the system log instead. What the level or the filter suppresses is
  /// not lost. Targets get the lines that a file does not.
  [[nodiscard]] std::uint64_t lostLines() const;

  /// Short form: a message without a location. Asks the global level only, never the filter.
  void log2(LEVEL level, const char* tag, const char* message);

  /// Short form with a printf format. Arguments that happen to read (int, const char*,
  /// const char*) choose the full form below instead: there AR_LOGF is the safe spelling.
  void logEx2(int level, const char* tag, const char* format, ...)
      __attribute__((format(printf, 4, 5)));

  /// Full form: `message` is taken as it stands. `function` is the compiler's pretty function text;
  /// a null one rejects the line.
  void log2(LEVEL level, const char* file, const char* function, int line, const char* tag,
            const char* message);

  /// Full form with a printf format. File and method name become part of the format: "%%" in them
  /// prints one '%'; any other '%' in them prints as it stands.
  void logEx2(LEVEL level, const char* file, const char* function, int line, const char* tag,
              const char* format, ...) __attribute__((format(printf, 7, 8)));

  /// Writes an already finished, zero-terminated line of `length` characters. Takes no lock.
  void logRawString2(LEVEL level, const char* tag, const char* text, unsigned length);

  /// Whether a full-form line with this format and location is to be written. Builds the line's
  /// template on the way, so that a formatter's failure is an answer too.
  bool checkAndCreateFormatString(LEVEL level, const char* file, const char* function, int line,
                                  const char* format);

  /// The qualified method name in the compiler's pretty function text: from the last space before
  /// the first '(' up to it; of a longer one the last `maxLength` characters.
  [[nodiscard]] static StringPortion parseMethodName(const char* prettyFunction, int maxLength);

  /// Takes level, flags, log file and filter from the section "Orvo.Logging" below `node`; nothing
  /// happens when there is none. Defined with the configuration tree (LoggerConfiguration).
  void initializeLogSettingsFromConfiguration(const ConfigNode& node);

 private:
  Logger();
  ~Logger() = default;
  void shutDown();

  LoggerPIMPL* pimpl;
};

/// The longest text that logOnelineString takes without a report.
inline constexpr std::size_t MAX_LOG_LINE_LEN = 900;

/// Logs a text as it stands at a level from 1 to 5; any other level is reported at ERROR.
AR_EXPORT void logOnelineString(const std::string& string, int level);

/// Logs the text line by line through logOnelineString. A line for which there is no memory is
/// lost.
AR_EXPORT void logMultilineString(const std::string& string, int level);

}  // namespace AR::Common

/// Logs `message`, a text taken as it stands, with the place of the call. `source` is the
/// module-relative path of the code. `message` is evaluated only when the level passes.
#define AR_LOG(level, source, message)                                                             \
  ((level) <= ::AR::Common::Logger::getInstance().getLevel()                                       \
       ? ::AR::Common::Logger::getInstance().log2(static_cast<::AR::Common::Logger::LEVEL>(level), \
                                                  source, __PRETTY_FUNCTION__, __LINE__, "AR",     \
                                                  message)                                         \
       : void())

/// AR_LOGF(level, source, format, ...): as AR_LOG with a printf format and its arguments, which
/// are evaluated only when the level passes.
#define AR_LOGF(level, source, ...)                                                        \
  ((level) <= ::AR::Common::Logger::getInstance().getLevel()                               \
       ? ::AR::Common::Logger::getInstance().logEx2(                                       \
             static_cast<::AR::Common::Logger::LEVEL>(level), source, __PRETTY_FUNCTION__, \
             __LINE__, "AR", __VA_ARGS__)                                                  \
       : void())

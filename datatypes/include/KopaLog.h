#ifndef KOPA_LOG_H
#define KOPA_LOG_H

#include <fstream>
#include <sstream>
#include <string>

#include "KopaDatatypesExport.h"

/// One trace line. Construct it, call write(level) once, insert the text into the returned
/// stream; the destructor appends the line to the file named by sKopaLogFileName.
///
/// Each line reaches the file whole, with a line end and the prefix
/// "YYYY-MM-DDTHH:MM:SS.mmmZ L<level> T<thread id> " (UTC). Lines of several threads never
/// interleave. Nothing is written while the name is empty, and a file that cannot be opened is
/// skipped silently: tracing never changes what a program does. The file is opened once (and
/// again when the name changes) and appended to; a new one gets mode 0600, since it holds the
/// user's positions, while an existing one keeps its mode. A pipe or FIFO never makes tracing
/// wait: it is opened without blocking (a FIFO without reader is tried again with the next
/// line), a line it cannot take at once is dropped whole, and a reader that has gone raises no
/// SIGPIPE in the program. When a pipe or terminal takes only part of a line, the rest goes
/// out before anything else (the lines that come while it cannot are dropped), so every line
/// that reaches the file stands whole on a line of its own.
class KOPA_DATATYPES_API KopaLog {
  public:
    /// An empty trace line.
    KopaLog() : logFile(), lineStream(std::ios_base::in | std::ios_base::out) {}
    /// Writes the line to the trace file, when one is named.
    virtual ~KopaLog();

    /// Not copyable: one object is one line.
    KopaLog(const KopaLog&) = delete;
    /// Not assignable: one object is one line.
    KopaLog& operator=(const KopaLog&) = delete;

    /// Starts the line at `level` and returns the stream that takes its text.
    std::stringstream& write(int level);

    /// The trace file; empty (the initial value) turns tracing off. Every line reads it without
    /// a lock: changing it while other threads may be tracing is not supported. Right before
    /// exit() destroys it, the name is copied: lines written after that, by threads still
    /// running or by later exit-time destructors, go on to the same file.
    static std::string sKopaLogFileName;

  private:
    std::ofstream logFile;  // unused: lines go through one shared, long-lived file handle
    std::stringstream lineStream;
};

#endif

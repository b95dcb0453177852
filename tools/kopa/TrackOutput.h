#ifndef KOPA_TOOL_TRACK_OUTPUT_H
#define KOPA_TOOL_TRACK_OUTPUT_H

#include <sys/types.h>

#include <cstdio>
#include <string>

/// Where kopa record writes its document, kept complete after every point. In a regular file
/// the closing text follows each point on disk and the next point overwrites it, so that even
/// a recording killed outright leaves a document that ends properly. A pipe, a terminal or a
/// file opened for appending cannot be written over: there the closing text comes once, from
/// finish(). Everything written is flushed at once.
class TrackOutput {
  public:
    /// `path` empty or "-": standard output. Throws std::runtime_error when it cannot be opened.
    explicit TrackOutput(const std::string& path);
    ~TrackOutput();
    TrackOutput(const TrackOutput&) = delete;
    TrackOutput& operator=(const TrackOutput&) = delete;

    /// Appends `text`, and where the output allows it, `closing` after it. False when the
    /// output could not be written (see error()).
    bool append(const std::string& text, const std::string& closing);
    /// Ends the document with `closing` in place of any closing written before, and closes the
    /// output. False when that failed.
    bool finish(const std::string& closing);

    /// The file's name for messages ("standard output" for it).
    const std::string& name() const { return name_; }
    /// What went wrong with the last write that failed.
    const std::string& error() const { return error_; }

  private:
    bool write(const std::string& text);
    bool fail();

    FILE* file_;
    std::string name_;
    std::string error_;
    bool ownsFile_;
    bool rewritable_;
    off_t documentEnd_ = 0;  ///< where the closing text starts in a rewritable file
};

#endif

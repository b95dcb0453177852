#ifndef KOPA_TOOL_TRACK_OUTPUT_H
#define KOPA_TOOL_TRACK_OUTPUT_H

#include <sys/types.h>

#include <string>

/// Where kopa record writes its document, kept complete after every point. In a regular file
/// each point and the closing text after it go to disk in one write over the closing before,
/// so that even a recording killed outright leaves a document that ends properly; a write
/// that fails part-way (disk full, a file-size limit) is cut back to the document before it.
/// A pipe, a terminal or a file opened for appending cannot be written over: there the closing
/// text comes once, from finish(). Nothing is buffered.
class TrackOutput {
  public:
    /// `path` empty or "-": standard output. Throws std::runtime_error when it cannot be opened.
    explicit TrackOutput(const std::string& path);
    ~TrackOutput();
    TrackOutput(const TrackOutput&) = delete;
    TrackOutput& operator=(const TrackOutput&) = delete;

    /// Appends `text`, and where the output allows it, `closing` after it. False when the
    /// output could not be written (see error()); a regular file then still holds the document
    /// as it was before.
    bool append(const std::string& text, const std::string& closing);
    /// Ends the document with `closing` in place of any closing written before, and closes the
    /// output. False when that failed.
    bool finish(const std::string& closing);
    /// Closes the output as it stands, the document ending with the closing of the last append.
    bool close();

    /// The file's name for messages ("standard output" for it).
    const std::string& name() const { return name_; }
    /// What went wrong with the last write that failed.
    const std::string& error() const { return error_; }

  private:
    bool replaceClosing(const std::string& text, const std::string& closing);
    bool writeAll(const std::string& text, off_t at);
    bool fail(int error);

    int fd_;
    std::string name_;
    std::string error_;
    bool ownsFile_;
    bool rewritable_;
    off_t documentEnd_ = 0;  ///< where the closing text starts in a rewritable file
    std::string closing_;    ///< the closing text on disk after documentEnd_
};

#endif

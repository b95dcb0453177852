#ifndef KOPA_BRIDGE_PSEUDO_TERMINAL_H
#define KOPA_BRIDGE_PSEUDO_TERMINAL_H

#include <string>

namespace bridge {

/// A pseudo-terminal for programs that read NMEA only from a serial device, reached through a
/// link of a stable name. The bridge writes to the master side; the slave side stays open in
/// the bridge too, so that writes do not fail while no reader has it open.
class PseudoTerminal {
  public:
    PseudoTerminal() = default;
    ~PseudoTerminal();
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    /// Opens the pair, puts the line in raw mode and links `link` to the slave side, replacing
    /// a link (never a file) of that name. False with `error` set when it cannot.
    bool open(const std::string& link, std::string& error);
    /// The master side, non-blocking, for the caller to own and close.
    int takeMaster();

  private:
    int master_ = -1;
    int slave_ = -1;
    std::string link_;
};

}  // namespace bridge

#endif

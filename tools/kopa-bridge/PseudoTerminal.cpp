#include "PseudoTerminal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace bridge {

PseudoTerminal::~PseudoTerminal() {
    if (!link_.empty()) {
        unlink(link_.c_str());
    }
    if (slave_ >= 0) {
        close(slave_);
    }
    if (master_ >= 0) {
        close(master_);
    }
}

bool PseudoTerminal::open(const std::string& link, std::string& error) {
    master_ = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    char name[128] = {};
    bool named = master_ >= 0 && grantpt(master_) == 0 && unlockpt(master_) == 0 &&
                 ptsname_r(master_, name, sizeof name) == 0;
    if (named) {
        slave_ = ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    }
    termios raw{};
    if (slave_ < 0 || tcgetattr(slave_, &raw) != 0) {
        error = std::string("cannot open a pseudo-terminal: ") + std::strerror(errno);
        return false;
    }
    // No echo back into the master, no line editing or CR/LF translation of the sentences.
    cfmakeraw(&raw);
    tcsetattr(slave_, TCSANOW, &raw);
    struct stat existing {};
    if (lstat(link.c_str(), &existing) == 0) {
        if (!S_ISLNK(existing.st_mode)) {
            error = link + " exists and is not a link";
            return false;
        }
        unlink(link.c_str());
    }
    if (symlink(name, link.c_str()) != 0) {
        error = "cannot link " + link + " to " + name + ": " + std::strerror(errno);
        return false;
    }
    link_ = link;
    return true;
}

int PseudoTerminal::takeMaster() {
    int fd = master_;
    master_ = -1;
    return fd;
}

}  // namespace bridge

#include "daemon/daemonize.h"

#include <fcntl.h>
#include <sys/types.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "daemon/pid_file.h"

namespace norvad {

namespace {

// True in the child.
bool Fork(const char* failure) {
    std::fflush(nullptr);  // or both processes would write what is buffered
    const pid_t child = fork();
    if (child > 0) std::exit(0);
    if (child < 0) syslog(LOG_ERR, "%s: %s", failure, std::strerror(errno));
    return child == 0;
}

// The lowest free descriptor is what open and dup hand out: with 0, 1 and 2 closed, in this order, they land on
// standard input, output and error.
bool RedirectStandardStreams(const std::string& logfile) {
    close(1);
    close(2);
    if (open("/dev/null", O_RDONLY) < 0) {
        syslog(LOG_ERR, "Unable to open /dev/null: %s", std::strerror(errno));
        return false;
    }
    if (open(logfile.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644) < 0) {
        syslog(LOG_ERR, "Unable to open output file %s: %s", logfile.c_str(), std::strerror(errno));
        return false;
    }
    if (dup(1) < 0) {
        syslog(LOG_ERR, "Unable to dup output descriptor: %s", std::strerror(errno));
        return false;
    }
    return true;
}

}  // namespace

bool Daemonize(const std::string& logfile, const std::string& pidFile) {
    if (!Fork("First fork failed")) return false;
    setsid();
    if (chdir("/") < 0) syslog(LOG_ERR, "chdir failed");
    if (!Fork("Second fork failed")) return false;
    close(0);
    if (!logfile.empty() && !RedirectStandardStreams(logfile)) return false;
    WritePidFile(pidFile);
    return true;
}

}  // namespace norvad

#pragma once
// quelto-sim check-updates: runs one real update check from the command line. Its own small
// library (quelto_check_updates), apart from the scenario language: it is the one part of
// quelto-sim that goes over the network (libcurl on Linux).
//
// Entry point for quelto-sim's main:
//     int runCheckUpdates(const std::vector<std::string>& args, std::ostream& out,
//                         std::ostream& err);
// `args` are the arguments after "check-updates". The check's log lines, the alert it shows
// and the URL it would open go to `out`; usage errors go to `err`. Returns 0 once the check
// has run (whatever its outcome), 2 for bad flags.
//
//     quelto-sim check-updates --site URL --build N [--version V] [--host HOST]
//                              [--answer 1000|1001]
//
// The request goes over the network (libcurl) to URL + "/api/latest". The running program
// is given the build N ("CFBundleVersion", taken as is, so "1.2" shows how a non-integer
// build counts) and the version V ("CFBundleShortVersionString"; missing when not given).
// The alert is answered with the given button (1000, the first, by default). Nothing is
// opened: the URL that would be opened is printed.

#include <ostream>
#include <string>
#include <vector>

namespace quelto {

int runCheckUpdates(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

// The usage text of the command.
const char* checkUpdatesUsage();

}  // namespace quelto

#pragma once
// The real macOS platform: fills the process's `quelto::Platform` with the implementations in
// this folder and bridges the core's notifications to NSNotificationCenter. Called once, on the
// main thread, before anything of the core runs.

namespace quelto::mac {

void installMacPlatform();

}  // namespace quelto::mac

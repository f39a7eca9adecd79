// The configuration parser on arbitrary bytes. The user edits the file by hand, so anything
// may be in it: the parser must never crash, and whatever it reads must survive being saved
// in canonical form and read again unchanged, except for the individual armed identifiers
// that a save drops on purpose while every application is armed ("arm = *"). Bytes that are
// not UTF-8 load as the defaults.

#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "settings/Config.h"
#include "settings/ConfigStore.h"
#include "settings/Utf8.h"

using quelto::Config;
using quelto::ConfigStore;

namespace {

std::string home;

[[noreturn]] void fail(const char* what, std::string_view input) {
    std::fprintf(stderr, "config fuzzer: %s\n--- input (%zu bytes) ---\n%.*s\n---\n", what,
                 input.size(), static_cast<int>(input.size()), input.data());
    abort();
}

// FNV-1a of the input.
std::uint64_t fingerprint(std::string_view bytes) {
    std::uint64_t h = 14695981039346656037ull;
    for (unsigned char c : bytes) h = (h ^ c) * 1099511628211ull;
    return h;
}

void writeRaw(std::string_view bytes) {
    std::ofstream out(ConfigStore::path(), std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The fuzzer writes and loads the real file, in a private home of its own.
    namespace fs = std::filesystem;
    std::string templ = (fs::temp_directory_path() / "quelto-fuzz-XXXXXX").string();
    if (!mkdtemp(templ.data())) abort();
    home = templ;
    setenv("HOME", home.c_str(), 1);
    fs::create_directories(ConfigStore::directory());
    atexit([] {
        std::error_code ec;
        std::filesystem::remove_all(home, ec);
    });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view text(reinterpret_cast<const char*>(data), size);

    if (!quelto::isValidUtf8(text)) {
        writeRaw(text);
        if (!(ConfigStore().load() == Config()))
            fail("bytes that are not UTF-8 did not load as the defaults", text);
        // Gone again, so that a later save does not keep it aside, as it would a user's.
        std::remove(ConfigStore::path().c_str());
        return 0;
    }

    Config first = Config::parse(text);
    Config expected = first;
    if (expected.armAll) expected.armed.clear();

    // The canonical text reads back as the same policy, and is its own canonical form.
    std::string canonical = first.canonicalText();
    if (!quelto::isValidUtf8(canonical)) fail("the canonical text is not UTF-8", text);
    Config second = Config::parse(canonical);
    if (!(second == expected)) fail("the canonical text reads back as a different policy", text);
    if (second.canonicalText() != canonical) fail("the canonical text is not stable", text);

    // The same through the file: save, then load. A save is slow (it syncs the file to disk),
    // so one input in sixteen takes this road, chosen by its own bytes so that a reproducer
    // replays the same way.
    if (fingerprint(text) % 16 == 0) {
        ConfigStore().save(first);
        if (!(ConfigStore().load() == expected))
            fail("save followed by load changed the policy", text);
    }

    // The rest of the policy's surface on whatever was read.
    (void)first.summary();
    for (const std::string& id : first.armed) (void)first.mayQuit(id);
    for (const std::string& id : first.excluded)
        if (first.mayQuit(id)) fail("an excluded identifier may be quit", text);
    if (!first.live && first.mayQuit("com.example.App")) fail("quitting while not live", text);
    return 0;
}

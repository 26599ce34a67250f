// The settings file and typed console lines: every line goes through the command splitter, the cvar
// store and the command table, and whatever values result must survive a save and a load unchanged.
#include <string>
#include <vector>

#include "console/command_system.h"
#include "console/cvar.h"
#include "engine/engine.h"
#include "fuzz_support.h"

static const char* const kSettingsPath = "./test/scripts/cvars.txt";

// The splitter's name is the first run of non-blanks: never empty when the line has one, never blank.
static void CheckSplit(const std::string& line) {
    const CommandLine parsed = SplitCommandLine(line);
    const size_t begin = line.find_first_not_of(" \t\n\v\f\r");
    FUZZ_CHECK(parsed.name.empty() == (begin == std::string::npos), "name of a line with words");
    FUZZ_CHECK(parsed.name.find_first_of(" \t\n\v\f\r") == std::string::npos, "blank in name '%s'",
               parsed.name.c_str());
    if (begin != std::string::npos) {
        FUZZ_CHECK(line.compare(begin, parsed.name.size(), parsed.name) == 0, "name is not the first word");
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool s_ready = [] {
        EnterAssetCopy();
        g_cvars->RegisterAll(CVarDeclarationHead());
        return true;
    }();
    (void)s_ready;

    WriteFile(kSettingsPath, data, size);
    g_cvars->LoadFile(kSettingsPath);
    const std::string text(reinterpret_cast<const char*>(data), size);
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        const std::string line = text.substr(begin, end - begin);
        CheckSplit(line);
        // Typed lines: a variable's name sets it, anything else runs as a command (but the one that
        // ends the process at once).
        if (!g_cvars->ParseLine(line) && SplitCommandLine(line).name != "force_exit") {
            g_commandSystem->Execute(line.c_str());
        }
        begin = end + 1;
    }
    g_quit = false;

    std::vector<std::string> saved;
    for (CVar* var : g_cvars->vars) {
        saved.push_back(var->master->value);
    }
    g_cvars->Save();
    for (CVar* var : g_cvars->vars) {
        var->SetString("\"scrambled\"");
    }
    g_cvars->LoadFile(kSettingsPath);
    for (size_t i = 0; i < saved.size(); ++i) {
        const CVar* var = g_cvars->vars[i];
        if (var->save) {
            FUZZ_CHECK(var->master->value == saved[i], "%s came back as \"%s\", saved \"%s\"", var->name.c_str(),
                       var->master->value.c_str(), saved[i].c_str());
        }
    }
    ForgetOutput();
    return 0;
}

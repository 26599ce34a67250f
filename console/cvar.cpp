#include "console/cvar.h"

#include <SDL.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <locale>
#include <sstream>

#include "console/tokenizer.h"
#include "engine/console_output.h"
#include "engine/registry.h"

const char* const kCVarFilePath = "./test/scripts/cvars.txt";

// Constant-initialised: variables in any translation unit may be constructed before this file's.
static CVar* s_declarationHead = nullptr;

VORMI_API CVar* CVarDeclarationHead() {
    return s_declarationHead;
}

// Float to int32 truncating toward zero; out-of-range values saturate instead of being undefined.
static int32_t TruncateToInt(float f) {
    if (!(f == f)) {
        return 0;
    }
    if (f >= 2147483648.0f) {
        return INT32_MAX;
    }
    if (f <= -2147483648.0f) {
        return INT32_MIN;
    }
    return static_cast<int32_t>(f);
}

CVar::CVar(const char* varName, const char* defaultValue, bool saveFlag, ChangeCallback callback)
    : master(this), name(varName), floatValue(0.0f), intValue(0), save(false), onChange(nullptr),
      next(nullptr) {
    SetString(defaultValue);
    save = saveFlag;
    onChange = callback;
    if (s_declarationHead != this) {
        next = s_declarationHead;
        s_declarationHead = this;
    }
}

void CVar::SetString(const std::string& text) {
    CVar* m = master;
    m->value = text;
    m->floatValue = 0.0f;
    m->intValue = 0;
    std::istringstream in(text);
    in.imbue(std::locale::classic());
    float parsed = 0.0f;
    if (in >> parsed) {
        m->floatValue = parsed;
    }
    m->intValue = TruncateToInt(m->floatValue);
    CopyAndNotify();
}

void CVar::SetInt(int32_t n) {
    CVar* m = master;
    m->floatValue = static_cast<float>(n);
    m->intValue = n;
    m->value = std::to_string(n);
    CopyAndNotify();
}

void CVar::SetFloat(float f) {
    CVar* m = master;
    m->floatValue = f;
    m->intValue = TruncateToInt(f);
    char text[64];
    std::snprintf(text, sizeof(text), "%f", static_cast<double>(f));
    m->value = text;
    CopyAndNotify();
}

void CVar::CopyAndNotify() {
    if (master != this) {
        value = master->value;
        floatValue = master->floatValue;
        intValue = master->intValue;
    }
    if (onChange) {
        onChange(this);
    }
    if (master != this && master->onChange) {
        master->onChange(master);
    }
}

void CVarInterface::RegisterAll(CVar* head) {
    for (CVar* var = head; var; var = var->next) {
        if (CVar* existing = Find(var->name)) {
            var->master = existing->master;
        } else {
            vars.push_back(var);
        }
    }
}

CVar* CVarInterface::Find(const std::string& name) {
    for (CVar* var : vars) {
        if (var->name == name) {
            return var;
        }
    }
    return nullptr;
}

void CVarInterface::LoadFile(const std::string& path) {
    std::ifstream file(path);
    if (!file.is_open()) {
        ConMsg("Error: Could not open file '%s'\n", path.c_str());
        return;
    }
    std::string line;
    while (std::getline(file, line)) {
        ParseLine(line);
    }
}

void CVarInterface::Save() {
    SaveTo(kCVarFilePath);
}

bool CVarInterface::SaveTo(const std::string& path) {
    // Write the whole file beside the old one and rename it over: a crash, a kill or a full disk in
    // mid-write leaves the previous settings intact.
    const std::string tempPath = path + ".tmp";
    FILE* file = std::fopen(tempPath.c_str(), "wb");
    if (!file) {
        ConMsg("Error: Could not open file '%s'\n", path.c_str());
        return false;
    }
    bool ok = true;
    for (CVar* var : vars) {
        if (!var->save) {
            continue;
        }
        const std::string& text = var->master->value;
        ok = ok && std::fprintf(file, "%s \"", var->name.c_str()) >= 0;
        ok = ok && std::fwrite(text.data(), 1, text.size(), file) == text.size();
        ok = ok && std::fputs("\"\n", file) >= 0;
    }
    ok = (std::fflush(file) == 0) && ok;
    ok = (std::fclose(file) == 0) && ok;
    if (!ok || std::rename(tempPath.c_str(), path.c_str()) != 0) {
        std::remove(tempPath.c_str());
        ConMsg("Error: Could not open file '%s'\n", path.c_str());
        return false;
    }
    return true;
}

void CVarInterface::List() {
    ConMsg("CVars:\n");
    for (CVar* var : vars) {
        ConMsg("%s: \"%s\"\n", var->name.c_str(), var->master->value.c_str());
    }
}

bool CVarInterface::ParseLine(const std::string& line) {
    CommandLine parsed = SplitCommandLine(line);
    CVar* var = Find(parsed.name);
    if (!var) {
        return false;
    }
    var->SetString(parsed.args);
    return true;
}

void CVarInterface::Clear() {
    vars.clear();
}

static CVarInterface s_cvarInterface;
CVarInterface* g_cvars = &s_cvarInterface;
EXPOSE_INTERFACE(s_cvarInterface, "CVarV1");

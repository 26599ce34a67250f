// Console variables and their store.
//
// A CVar is a named setting kept as text with its float and integer readings. Variables are static
// objects; RegisterAll() collects them into the store published as "CVarV1", which loads and saves
// test/scripts/cvars.txt. Two variables of the same name share the first one's value (its master).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/api.h"

class VORMI_API CVar {
public:
    typedef void (*ChangeCallback)(CVar* var);

    // Links the variable onto the declaration list; the default is set before the callback is stored,
    // so no callback runs for it.
    CVar(const char* name, const char* defaultValue, bool save, ChangeCallback onChange = nullptr);

    // Each setter writes the master's value, copies it here and runs the change callbacks.
    void SetString(const std::string& text);  // float parsed from the text, 0 when it does not parse
    void SetInt(int32_t n);
    void SetFloat(float f);                   // text is the value formatted with "%f"

    CVar* master;
    std::string name;
    std::string value;
    float floatValue;
    int32_t intValue;
    bool save;
    ChangeCallback onChange;
    CVar* next;

private:
    void CopyAndNotify();
};

// Head of the declaration list (last declared first); RegisterAll walks it.
VORMI_API CVar* CVarDeclarationHead();

class VORMI_API ICVarInterface {
public:
    virtual ~ICVarInterface() {}
    // Adds every variable on the declaration list from head; a repeated name shares the first's master.
    virtual void RegisterAll(CVar* head) = 0;
    // The registered variable of exactly that name, or null.
    virtual CVar* Find(const std::string& name) = 0;
    // Applies every line of the file; prints "Error: Could not open file '...'" when it cannot open it.
    virtual void LoadFile(const std::string& path) = 0;
    // Writes the saved variables to ./test/scripts/cvars.txt; prints the same error line on failure.
    virtual void Save() = 0;
    // Prints every registered variable.
    virtual void List() = 0;
    // Sets the variable a "name value" line names; false (and nothing changed) for an unknown name.
    virtual bool ParseLine(const std::string& line) = 0;
};

class VORMI_API CVarInterface : public ICVarInterface {
public:
    void RegisterAll(CVar* head) override;
    CVar* Find(const std::string& name) override;
    void LoadFile(const std::string& path) override;
    void Save() override;
    void List() override;
    bool ParseLine(const std::string& line) override;

    // Empties the list of registered variables (the variables themselves are static and stay).
    void Clear();
    // Writes the saved variables to an explicit path, through a temporary file and a rename.
    bool SaveTo(const std::string& path);

    std::vector<CVar*> vars;
};

extern VORMI_API CVarInterface* g_cvars;

// Where the engine keeps its settings, relative to the working directory.
extern VORMI_API const char* const kCVarFilePath;

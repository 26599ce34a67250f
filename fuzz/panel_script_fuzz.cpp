// Panel script files through the widget factory. Besides surviving any file, the loaded panel must
// have exactly the children an independent reading of the format gives, under the same names.
#include <algorithm>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "ui/panel.h"

static const char* const kScriptPath = "./test/scripts/fuzz_panel.txt";
static const char* const kBlanks = " \t\n\v\f\r";
static const std::vector<std::string> kWidgetTypes = {"Panel",  "GrabBar",      "ImagePanel", "Label",
                                                      "Button", "ToggleButton", "TextBox",    "RichTextBox"};

static std::string FirstWord(const std::string& line, size_t* end) {
    const size_t begin = std::min(line.find_first_not_of(kBlanks), line.size());
    *end = std::min(line.find_first_of(kBlanks, begin), line.size());
    return line.substr(begin, *end - begin);
}

// The value of a "name" line (between the first and the last quote, if any), or false for another key.
static bool NameValue(const std::string& line, std::string* value) {
    size_t end = 0;
    if (FirstWord(line, &end) != "name") {
        return false;
    }
    *value = line.substr(end);
    const size_t first = value->find('"');
    const size_t last = value->rfind('"');
    if (first != std::string::npos) {
        *value = first == last ? std::string() : value->substr(first + 1, last - first - 1);
    }
    return true;
}

// The sorted names the children must have after loading the text.
static std::vector<std::string> ExpectedChildren(const std::string& text) {
    std::vector<std::string> children, block;
    std::string typeWord, name;
    bool inBlock = false;
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        const std::string line = text.substr(begin, end - begin);
        begin = end + 1;
        if (line.find('{') != std::string::npos) {
            inBlock = true;
            block.clear();
        } else if (line.find('}') != std::string::npos) {
            if (inBlock && typeWord != "This") {
                // A block's first "name" line picks an existing child; otherwise a known type makes one.
                const auto named = std::find_if(block.begin(), block.end(), [&](auto& l) { return NameValue(l, &name); });
                auto target = named == block.end() ? children.end() : std::find(children.begin(), children.end(), name);
                if (target == children.end() && std::count(kWidgetTypes.begin(), kWidgetTypes.end(), typeWord)) {
                    target = children.insert(children.end(), typeWord);
                }
                for (const std::string& l : block) {
                    if (target != children.end() && NameValue(l, &name)) {
                        *target = name;
                    }
                }
            }
            inBlock = false;
        } else if (inBlock) {
            block.push_back(line);
        } else {
            size_t wordEnd = 0;
            const std::string word = FirstWord(line, &wordEnd);
            typeWord = word.empty() ? typeWord : word;
        }
    }
    std::sort(children.begin(), children.end());
    return children;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    StartEngine("SDLRenderer");
    WriteFile(kScriptPath, data, size);
    Panel* panel = new Panel("fuzz_owner");
    panel->LoadFromFile(kScriptPath);
    std::vector<std::string> got;
    for (Panel* child : panel->childrenDirty ? panel->pendingChildren : panel->children) {
        if (child) {
            got.push_back(child->name);
        }
    }
    std::sort(got.begin(), got.end());
    const std::vector<std::string> want = ExpectedChildren(std::string(reinterpret_cast<const char*>(data), size));
    FUZZ_CHECK(got == want, "%zu children loaded, the format gives %zu", got.size(), want.size());
    panel->Update();
    panel->Draw();
    panel->Destroy();
    ForgetOutput();
    return 0;
}

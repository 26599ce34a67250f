// Panel script files: one panel's own properties ("This" blocks) and a flat list of its children,
// each a block of "key value" lines under a type word.
#include <cstdio>
#include <string>

#include "console/tokenizer.h"
#include "engine/console_output.h"
#include "ui/panel.h"
#include "ui/widget_factory.h"

// Lines are read whole for their braces but kept only up to this length; no real script comes near it.
static const size_t kMaxKeptLineLength = 64 * 1024;
// Reading stops here, so a device or an endless file cannot keep the loader busy forever.
static const size_t kMaxScriptBytes = 64u * 1024u * 1024u;

void Panel::SetProperty(const std::string& key, const std::string& value) {
    if (key == "name") {
        name = value;
    } else if (key == "position") {
        int32_t pos[2] = {0, 0};
        ReadInts(value, pos, 2);
        x = pos[0];
        y = pos[1];
    } else if (key == "size") {
        int32_t size[2] = {25, 25};
        ReadInts(value, size, 2);
        width = size[0];
        height = size[1];
        OnResized();
    } else if (key == "background_color") {
        int32_t rgba[4] = {255, 0, 255, 255};
        ReadInts(value, rgba, 4);
        backgroundColor = MakeColor(static_cast<uint8_t>(rgba[0]), static_cast<uint8_t>(rgba[1]),
                                    static_cast<uint8_t>(rgba[2]), static_cast<uint8_t>(rgba[3]));
        drawBackground = backgroundColor.a != 0;
    } else if (key == "zpos") {
        int32_t z = 0;
        ReadInts(value, &z, 1);
        SetZPos(z);
    }
}

// Calls fn with each line of a block buffer, in file order; stops early when fn returns false.
template <typename Fn>
static void ForEachBlockLine(const std::string& block, Fn fn) {
    for (size_t begin = 0; begin < block.size();) {
        const size_t end = block.find('\n', begin);
        if (!fn(SplitPropertyLine(block.substr(begin, end - begin)))) {
            return;
        }
        begin = end + 1;
    }
}

// Applies one finished block: "This" means the loading panel; otherwise a child found by the block's
// "name" line is updated in place, or a new widget of the type is made and attached.
static void ApplyBlock(Panel* owner, const std::string& typeWord, const std::string& block) {
    Panel* target = nullptr;
    if (typeWord == "This") {
        target = owner;
    } else {
        ForEachBlockLine(block, [&](const PropertyLine& property) {
            if (property.key != "name") {
                return true;
            }
            target = owner->FindChild(property.value);
            return false;
        });
        if (!target) {
            target = CreateWidget(typeWord);
        }
        if (!target) {
            return;
        }
    }
    ForEachBlockLine(block, [&](const PropertyLine& property) {
        target->SetProperty(property.key, property.value);
        return true;
    });
    if (target != owner) {
        target->SetParent(owner);
    }
}

namespace {

// Splits a file into lines at line feeds. Each line reports whether it holds a brace anywhere, even
// past the part that is kept.
class ScriptLineReader {
public:
    explicit ScriptLineReader(FILE* file) : file_(file) {}

    bool Next(std::string* line, bool* opens, bool* closes) {
        line->clear();
        *opens = false;
        *closes = false;
        bool gotAny = false;
        for (;;) {
            if (pos_ == len_ && !Refill()) {
                return gotAny;
            }
            gotAny = true;
            const char c = buffer_[pos_++];
            if (c == '\n') {
                return true;
            }
            if (c == '{') {
                *opens = true;
            } else if (c == '}') {
                *closes = true;
            }
            if (line->size() < kMaxKeptLineLength) {
                line->push_back(c);
            }
        }
    }

private:
    bool Refill() {
        if (total_ >= kMaxScriptBytes) {
            return false;
        }
        len_ = std::fread(buffer_, 1, sizeof(buffer_), file_);
        pos_ = 0;
        total_ += len_;
        return len_ > 0;
    }

    FILE* file_;
    char buffer_[4096];
    size_t pos_ = 0;
    size_t len_ = 0;
    size_t total_ = 0;
};

}  // namespace

void Panel::LoadFromFile(const std::string& path) {
    FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) {
        ConMsg("Error: Could not open file '%s'\n", path.c_str());
        return;
    }

    ScriptLineReader reader(file);
    std::string line;
    std::string typeWord;
    // The block's lines, each ended by a line feed: one buffer rather than a string per line keeps a
    // long block of short lines near the size of the file.
    std::string blockLines;
    bool inBlock = false;
    bool opens = false;
    bool closes = false;
    while (reader.Next(&line, &opens, &closes)) {
        if (opens) {
            // A new opening abandons whatever an unfinished block had collected.
            inBlock = true;
            blockLines.clear();
        } else if (closes) {
            if (inBlock) {
                ApplyBlock(this, typeWord, blockLines);
            }
            inBlock = false;
            blockLines.clear();
        } else if (inBlock) {
            blockLines += line;
            blockLines += '\n';
        } else {
            const std::string word = FirstWord(line);
            if (!word.empty()) {
                typeWord = word;
            }
        }
    }
    std::fclose(file);
}

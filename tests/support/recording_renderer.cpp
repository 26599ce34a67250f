#include "support/recording_renderer.h"

#include <algorithm>

std::vector<std::string> RecordingRenderer::Matching(const std::string& prefix) const {
    std::vector<std::string> out;
    std::copy_if(calls.begin(), calls.end(), std::back_inserter(out),
                 [&](const std::string& call) { return call.compare(0, prefix.size(), prefix) == 0; });
    return out;
}

int RecordingRenderer::IndexOf(const std::string& text) const {
    const auto it = std::find(calls.begin(), calls.end(), text);
    return it == calls.end() ? -1 : static_cast<int>(it - calls.begin());
}

void RecordingRenderer::Log(const std::string& what, const std::vector<int>& numbers, const std::string& tail) {
    std::string line = what;
    for (int n : numbers) line += " " + std::to_string(n);
    calls.push_back(line + tail);
}

void RecordingRenderer::Log(const std::string& what, const Rect* rect, const Color* color) {
    std::vector<int> numbers;
    if (rect) numbers = {rect->x, rect->y, rect->w, rect->h};
    if (color) numbers.insert(numbers.end(), {color->r, color->g, color->b, color->a});
    Log(rect ? what : what + " null", numbers);
}

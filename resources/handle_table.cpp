#include "resources/handle_table.h"

#include <SDL.h>

ResourceTickSource g_resourceTicks = SDL_GetTicks64;

std::string NormalizeAssetName(const std::string& name) {
    std::string normalised;
    normalised.reserve(name.size());
    for (char c : name) {
        if (c == '\\') {
            c = '/';
        }
        if (c == '/' && !normalised.empty() && normalised.back() == '/') {
            continue;
        }
        normalised.push_back(c);
    }
    if (normalised.compare(0, 2, "./") == 0) {
        normalised.erase(0, 2);
    }
    return normalised;
}

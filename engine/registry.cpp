#include "engine/registry.h"

#include <cstring>

// Constant-initialised, so nodes of any translation unit can push before or after it is "constructed".
static InterfaceReg* s_interfaceHead = nullptr;

InterfaceReg::InterfaceReg(const char* regName, void* regIface)
    : name(regName), iface(regIface), next(s_interfaceHead) {
    s_interfaceHead = this;
}

void* FindInterface(const char* name) {
    if (!name) {
        return nullptr;
    }
    for (InterfaceReg* node = s_interfaceHead; node; node = node->next) {
        if (std::strcmp(node->name, name) == 0) {
            return node->iface;
        }
    }
    return nullptr;
}

// Registry of published interfaces: a singly linked list of static nodes, newest first.
#pragma once

struct InterfaceReg {
    // Pushes this node onto the head of the list.
    InterfaceReg(const char* name, void* iface);

    const char* name;
    void* iface;
    InterfaceReg* next;
};

// The interface registered under exactly this name, or null.
void* FindInterface(const char* name);

// Publishes a static subsystem object under its version name at static-initialisation time.
#define EXPOSE_INTERFACE(object, versionName) \
    static InterfaceReg s_interfaceReg_##object(versionName, &object)

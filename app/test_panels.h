// The stress-test commands: "test_create_panel N" and "test_create_form N" scatter plain panels or
// forms over the root panel, "test_destroy_panel" closes them all.
#pragma once

#include <deque>

class Panel;

// The panels made by "test_create_panel" and "test_create_form", not owned; a panel leaves the list
// when the tree frees it. A deque, because the tree frees them mostly in the order they were made.
extern std::deque<Panel*> g_testPanels;

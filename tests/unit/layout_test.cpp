// What hosts read and write directly: sizes and member offsets that follow from the published field
// orders. A reordered or inserted field fails the build here.
#include <SDL.h>

#include <cstddef>
#include <string>
#include <vector>

#include "console/cvar.h"
#include "engine/engine_common.h"
#include "input/input_system.h"
#include "render/draw_types.h"
#include "resources/font_system.h"
#include "resources/model_mgr.h"
#include "ui/panel.h"
#include "ui/rich_text_box.h"
#include "ui/text_box.h"

#pragma GCC diagnostic ignored "-Winvalid-offsetof"
constexpr size_t kPtr = sizeof(void*);
constexpr size_t kStr = sizeof(std::string);
constexpr size_t kVec = sizeof(std::vector<int>);

static_assert(sizeof(Color) == 4 && offsetof(Color, a) == 3, "Color: r, g, b, a bytes");
static_assert(sizeof(Rect) == sizeof(SDL_Rect) && offsetof(Rect, h) == offsetof(SDL_Rect, h), "Rect is SDL_Rect");
static_assert(sizeof(Point) == sizeof(SDL_Point) && offsetof(Point, y) == offsetof(SDL_Point, y), "Point");
static_assert(sizeof(Vertex) == sizeof(SDL_Vertex) && offsetof(Vertex, u) == offsetof(SDL_Vertex, tex_coord), "Vertex");
static_assert(sizeof(EngineHooks) == 3 * kPtr && sizeof(TextSize) == 8, "hooks and text size");

static_assert(offsetof(CVar, master) == 0 && offsetof(CVar, name) == kPtr, "CVar: master, name");
static_assert(offsetof(CVar, floatValue) == kPtr + 2 * kStr, "then value, floatValue");
static_assert(offsetof(CVar, save) == offsetof(CVar, floatValue) + 8, "intValue, save");
static_assert(offsetof(CVar, next) == offsetof(CVar, save) + 2 * kPtr, "onChange, next");
static_assert(offsetof(EngineCommon, rootPanel) == kPtr && offsetof(EngineCommon, extraHook) == 4 * kPtr,
              "EngineCommon: vtable, root panel, start, frame and extra hooks");

static_assert(offsetof(InputSystem, wantTextInput) == kPtr, "flags follow the vtable pointer");
static_assert(offsetof(InputSystem, keysHeld) == kPtr + 2, "key arrays packed after the two flags");
static_assert(offsetof(InputSystem, keysPressedNoRepeat) == offsetof(InputSystem, keysHeld) + 1024, "512 each");
static_assert(offsetof(InputSystem, mouseButtons) == (offsetof(InputSystem, keysHeld) + 1536 + 3) / 4 * 4, "mask");
static_assert(offsetof(InputSystem, mouseWheel) == offsetof(InputSystem, mouseButtons) + 20, "mouse fields");
static_assert(offsetof(InputSystem, textInput) == (offsetof(InputSystem, mouseWheel) + 4 + 7) / 8 * 8, "text last");

static_assert(offsetof(Panel, enabled) == kPtr && offsetof(Panel, alwaysDraw) == kPtr + 9, "ten flags first");
static_assert(offsetof(Panel, name) == 3 * kPtr && offsetof(Panel, x) == 3 * kPtr + kStr, "name, x");
static_assert(offsetof(Panel, clipRect) == offsetof(Panel, x) + 24, "y, screen position, size, clip rectangle");
static_assert(offsetof(Panel, parent) == offsetof(Panel, clipRect) + 24, "clipVisible, backgroundColor, parent");
static_assert(offsetof(Panel, zpos) == offsetof(Panel, parent) + 2 * kPtr + 2 * kVec, "focusedChild, lists, zpos");
static_assert(offsetof(Panel, visibleChildCount) == offsetof(Panel, zpos) + 12, "four flags, inDraw, count");
static_assert(offsetof(TextBox, text) == sizeof(Panel) && offsetof(RichTextBox, active) == sizeof(Panel),
              "text box fields follow the panel");
static_assert(offsetof(RichTextLine, extra) == kStr && offsetof(TextPosition, line) == 4, "line record, position");

static_assert(offsetof(Texture, releaseTime) == kStr && offsetof(Texture, sdlTexture) == kStr + 8, "Texture");
static_assert(offsetof(Texture, width) == kStr + 8 + kPtr + 4 && offsetof(Texture, persistent) == kStr + 24 + kPtr,
              "glTexture, width, height, refCount, persistent");
static_assert(offsetof(FontRecord, size) == 2 * kStr && offsetof(FontRecord, monospace) == 2 * kStr + 12, "FontRecord");
static_assert(offsetof(FontRecord, atlas) == 2 * kStr + 24 && offsetof(FontRecord, glyphs) == 2 * kStr + 24 + sizeof(Texture),
              "cell size, atlas, glyphs");
static_assert(sizeof(ModelVertex) == 32 && sizeof(ModelSection) == 12, "model file records");
static_assert(offsetof(ModelRecord, vertices) == kStr && offsetof(ModelRecord, vertexBuffer) == kStr + 5 * kVec,
              "ModelRecord: name, five arrays, buffers");
static_assert(offsetof(ModelRecord, uploaded) == kStr + 5 * kVec + 8 && offsetof(ModelRecord, refCount) == kStr + 5 * kVec + 12,
              "uploaded, refCount");
static_assert(offsetof(ModelRecord, releaseTime) == kStr + 5 * kVec + 16 && offsetof(ModelRecord, persistent) == kStr + 5 * kVec + 24,
              "releaseTime, persistent");

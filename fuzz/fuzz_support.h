// Shared set-up of the fuzz targets: a private copy of the asset tree as the working directory, SDL
// on its offscreen video driver, and the subsystems started the way EngineMain starts them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

// Makes a fresh copy of test/ (without a settings file) the working directory, and keeps console
// output off the terminal; once per process. Paths given to libFuzzer must therefore be absolute.
void EnterAssetCopy();
// Replaces the file at path (relative to the working directory) with the bytes.
void WriteFile(const std::string& path, const uint8_t* data, size_t size);
// Everything EngineMain starts before its loop, with the named renderer in a small window; once.
void StartEngine(const char* rendererName);
// Forgets console output and queued commands, so nothing grows from one input to the next.
void ForgetOutput();

// A broken expectation: say which, then abort so that libFuzzer keeps the input.
#define FUZZ_CHECK(condition, ...) \
    ((condition) ? void(0) : (std::fprintf(stderr, __VA_ARGS__), std::fputc('\n', stderr), std::abort()))

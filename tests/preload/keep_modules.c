/* Preloaded into the tests: dlclose becomes a no-op, so system libraries that SDL loads and unloads
 * (the GL and EGL drivers) stay mapped until exit and the leak checker can name what they keep. */
int dlclose(void* handle) {
    (void)handle;
    return 0;
}

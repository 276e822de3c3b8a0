/// Fontconfig, which Poppler asks for fonts when it draws a page, keeps a little that nothing points at.
extern "C" const char* __lsan_default_suppressions() { // NOLINT: the sanitizer's own name
    return "leak:libfontconfig.so\n";
}

extern "C" const char* __lsan_default_options() { // NOLINT
    return "print_suppressions=0";
}

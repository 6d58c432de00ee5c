// What Qt and the libraries below it keep until the process ends. Qt's offscreen platform never
// frees its screen; without frame pointers in Qt, the allocations inside it are known by their
// innermost frame only. An object that this project leaks is still reported: its own allocation
// is in none of these.
extern "C" const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions() {
    return "leak:libqoffscreen\n"
           "leak:libqxcb\n"
           "leak:QScreen::QScreen\n"
           "leak:QPlatformScreen::QPlatformScreen\n"
           "leak:QWindowSystemInterface::handleScreenAdded\n"
           "leak:^QObject::QObject\n"
           "leak:QtSharedPointer::ExternalRefCountData::getAndRef\n"
           "leak:QScroller::grabGesture\n"
           "leak:libfontconfig\n"
           "leak:libdbus\n"
           "leak:libX11\n"
           "leak:libglib\n";
}

extern "C" const char* __lsan_default_options();

extern "C" const char* __lsan_default_options() {
    return "print_suppressions=0";
}

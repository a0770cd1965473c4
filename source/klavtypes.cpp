// Load-time constant, the free function for returned blocks, console records.
#include "klavtypes.h"
#include "common.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <unistd.h>

namespace klav {

double g_pi = std::acos(-1.0);

// One body serves both overloads: null is ignored, the rest goes to free.
static void FreeBlock(void *block) {
    if (block) std::free(block);
}

void klavFree(unsigned char *block) { FreeBlock(block); }
void klavFree(KV_Rect *block) { FreeBlock(block); }

namespace detail {

static int g_consoleAttribute = 0;

static void SetConsoleAttribute(int attribute) {
    g_consoleAttribute = attribute;
    if (!isatty(fileno(stderr))) return;
    // 12 is bright red, 11 bright cyan in the console palette.
    const char *escape = attribute == 12 ? "\033[91m" : attribute == 11 ? "\033[96m" : "\033[0m";
    std::fputs(escape, stderr);
}

int LastConsoleAttribute() { return g_consoleAttribute; }

void ErrorRecord(const char *message, const char *path, int line) {
    SetConsoleAttribute(12);
    std::fprintf(stderr, "%08d : ", static_cast<int>(std::clock()));
    std::fputs(message ? message : "", stderr);
    std::fprintf(stderr, "\r\n%s(%d)\r\n", path ? path : "", line);
}

void InfoRecord(const char *message) {
    SetConsoleAttribute(11);
    std::fprintf(stderr, "%08d : ", static_cast<int>(std::clock()));
    std::fputs(message ? message : "", stderr);
    std::fputs("\r\n", stderr);
}

}  // namespace detail
}  // namespace klav

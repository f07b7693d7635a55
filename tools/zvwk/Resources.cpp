#include "Resources.h"

#include <glib.h>

#include <memory>

namespace zvwk {

std::string resourcesPath() {
#ifdef ZVWK_RESOURCES_FROM_EXE
    std::unique_ptr<char, decltype(&g_free)> exe(g_file_read_link("/proc/self/exe", nullptr), g_free);
    if (exe) {
        std::unique_ptr<char, decltype(&g_free)> directory(g_path_get_dirname(exe.get()), g_free);
        std::unique_ptr<char, decltype(&g_free)> installed(
            g_canonicalize_filename(ZVWK_RESOURCES_FROM_EXE, directory.get()), g_free);
        if (g_file_test(installed.get(), G_FILE_TEST_IS_DIR)) return installed.get();
    }
#endif
    return ZVWK_RESOURCES_DIR;
}

}  // namespace zvwk

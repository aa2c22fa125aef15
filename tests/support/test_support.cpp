#include "support/test_support.h"

#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace tvk_test {

std::string home()
{
    return TVK_TEST_HOME;
}

void fix_environment()
{
    const std::string test_home = home();
    setenv("TARVOLKHOME", test_home.c_str(), 1);
    setenv("ZIMBRELHOME", (test_home + "/zimbrel").c_str(), 1);
    setenv("TARVOLKPLATFORM", "linux2x86", 1);
    setenv("LANG", "C.UTF-8", 1);
    setenv("TZ", "UTC", 1);
    for (const char *name : {"LC_ALL", "LC_CTYPE", "LC_MESSAGES", "LC_TIME", "LC_NUMERIC",
                             "LC_COLLATE", "LANGUAGE"})
        unsetenv(name);

    std::vector<std::string> tuning;
    for (char **entry = environ; *entry != nullptr; ++entry) {
        if (std::strncmp(*entry, "NDE_", 4) == 0) {
            const char *name = *entry;
            const char *equals = std::strchr(name, '=');
            tuning.emplace_back(name, equals != nullptr ? static_cast<size_t>(equals - name)
                                                        : std::strlen(name));
        }
    }
    for (const std::string &name : tuning)
        unsetenv(name.c_str());
    tzset();
}

TempDir::TempDir()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "tvktest.XXXXXX").string();
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (mkdtemp(buffer.data()) == nullptr)
        throw std::runtime_error("mkdtemp failed");
    path_ = buffer.data();
}

TempDir::~TempDir()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

void write_file(const std::string &path, const std::string &text)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
}

CommandResult run_command(const std::string &command)
{
    TempDir scratch;
    const std::string out = scratch.file("out");
    const std::string err = scratch.file("err");
    const std::string full = "(" + command + ") >'" + out + "' 2>'" + err + "'";
    const int raw = std::system(full.c_str());

    auto read_file = [](const std::string &path) {
        std::ostringstream text;
        text << std::ifstream(path, std::ios::binary).rdbuf();
        return text.str();
    };
    return CommandResult{raw != -1 && WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, read_file(out), read_file(err)};
}

} // namespace tvk_test

#include "surroundings.h"

#include "support/environment.h"

namespace tavu::test {

std::filesystem::path separate(const std::filesystem::path &folder)
{
    // A name that no single code page holds.
    const std::string data =
        folder.string() + "/d\xc3\xa4ta \xe6\xb5\x8b\xe8\xaf\x95 \xf0\x9f\x8e\xa5";
    setVariable("HOME", folder.string());
    setVariable("XDG_RUNTIME_DIR", folder.string());
    setVariable("XDG_DATA_HOME", data);
    return data;
}

bool hasPlacesByEnvironment()
{
    return true;
}

bool enforcesOneInstance()
{
    return true;
}

bool regionsStayForTheirUsers()
{
    return false;
}

bool transfersAreSlow()
{
    return false;
}

} // namespace tavu::test

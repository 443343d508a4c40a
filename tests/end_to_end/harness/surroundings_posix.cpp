#include "surroundings.h"

namespace tavu::test {

std::string separate(ProcessOptions &options, const std::string &folder)
{
    const std::string data = folder + "/d\xc3\xa4ta \xe6\xb5\x8b\xe8\xaf\x95 \xf0\x9f\x8e\xa5";
    options.environment.insert(
        {{"HOME", folder}, {"XDG_RUNTIME_DIR", folder}, {"XDG_DATA_HOME", data}});
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

} // namespace tavu::test

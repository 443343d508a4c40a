#pragma once

#include <optional>
#include <string>

namespace tavu::test {

/// Sets a variable of this process and of those that it starts; without a value it is taken out. On
/// Windows an empty value is none. Names and values are UTF-8.
void setVariable(const std::string &name, const std::optional<std::string> &value);

/// Whether this is a Windows program, and whether it runs under Wine.
bool onWindows();
bool onWine();

/// A variable that has its former value again at the end.
class ScopedVariable
{
public:
    ScopedVariable(const std::string &name, const std::optional<std::string> &value);
    ScopedVariable(const ScopedVariable &) = delete;
    ScopedVariable &operator=(const ScopedVariable &) = delete;
    ~ScopedVariable();

private:
    std::string name_;
    std::optional<std::string> former_;
};

} // namespace tavu::test

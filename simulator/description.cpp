#include "description.h"

#include "settings_file.h"

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string_view>

namespace simulator {

namespace {

constexpr uint64_t kGiga = uint64_t(1) << 30;

template <typename Description>
struct Key
{
    const char *name;
    void (*take)(Description &description, const Setting &setting);
};

std::vector<uint32_t> parseGroups(const std::string &text)
{
    std::vector<uint32_t> groups;
    for (size_t first = 0, plus = 0; plus != std::string::npos; first = plus + 1) {
        plus = text.find('+', first);
        groups.push_back(parseSmallNumber(trimmed(text.substr(first, plus - first)), 0, 255));
    }
    return groups;
}

void takeFrameSize(PortDescription &port, const Setting &setting)
{
    const size_t cross = setting.value.find_first_of("xX");
    if (cross == std::string::npos)
        throw std::runtime_error("\"" + setting.value + "\" is not of the form 640x480");
    port.frameWidth = parseSmallNumber(trimmed(setting.value.substr(0, cross)), 1, 65535);
    port.frameHeight = parseSmallNumber(trimmed(setting.value.substr(cross + 1)), 1, 65535);
}

uint32_t interfaceBit(const Setting &setting)
{
    const uint32_t bit = setting.number(1, 4);
    if (bit == 3)
        throw std::runtime_error("3 is not one of 1, 2 and 4");
    return bit;
}

using RecorderKey = Key<RecorderDescription>;
using Recorder = RecorderDescription;

constexpr RecorderKey kRecorderKeys[] = {
    {"name", [](Recorder &r, const Setting &s) { r.name = s.name(); }},
    {"alternative name", [](Recorder &r, const Setting &s) { r.alternativeName = s.text(); }},
    {"device type", [](Recorder &r, const Setting &s) { r.deviceType = s.number(); }},
    {"virtual", [](Recorder &r, const Setting &s) { r.isVirtual = s.yesOrNo(); }},
    {"connected", [](Recorder &r, const Setting &s) { r.connected = s.yesOrNo(); }},
    {"interface", [](Recorder &r, const Setting &s) { r.interfaceBit = interfaceBit(s); }},
    {"ports", [](Recorder &r, const Setting &s) { r.ports.resize(s.number(0, 255)); }},
    {"drives", [](Recorder &r, const Setting &s) { r.driveGroups = parseGroups(s.value); }},
    {"drive size", [](Recorder &r, const Setting &s) { r.driveSize = s.size(0, kGiga << 20); }},
    {"cluster size",
     [](Recorder &r, const Setting &s) {
         r.clusterSize = static_cast<uint32_t>(s.size(1, kGiga));
     }},
    {"metadata size",
     [](Recorder &r, const Setting &s) {
         r.metadataSize = static_cast<uint32_t>(s.size(1, kGiga));
     }},
    {"drive sets", [](Recorder &r, const Setting &s) { r.initialDriveSets = s.number(0, 1000); }},
    {"shared file", [](Recorder &r, const Setting &s) { r.sharedFile = s.yesOrNo(); }},
    {"recovery time", [](Recorder &r, const Setting &s) { r.recoveryMilliseconds = s.number(); }},
    {"recovery error", [](Recorder &r, const Setting &s) { r.recoveryError = s.text(); }},
    {"external input",
     [](Recorder &r, const Setting &s) { r.externalInputHigh = s.choice("high", "low"); }},
};

using PortKey = Key<PortDescription>;
using Port = PortDescription;

constexpr PortKey kPortKeys[] = {
    {"name", [](Port &p, const Setting &s) { p.name = s.name(); }},
    {"link mode", [](Port &p, const Setting &s) { p.linkMode = s.number(); }},
    {"camera", [](Port &p, const Setting &s) { p.hasCamera = s.yesOrNo(); }},
    {"silent", [](Port &p, const Setting &s) { p.silent = s.yesOrNo(); }},
    {"acquisition start", [](Port &p, const Setting &s) { p.acquisitionStart = s.number(); }},
    {"frame rate", [](Port &p, const Setting &s) { p.frameRate = s.decimal(0, 1e6); }},
    {"frame size", takeFrameSize},
    {"bit depth", [](Port &p, const Setting &s) { p.bitDepth = s.number(1, 16); }},
    {"bit depth setting", [](Port &p, const Setting &s) { p.hasBitDepthSetting = s.yesOrNo(); }},
    {"packing setting", [](Port &p, const Setting &s) { p.hasPackingSetting = s.yesOrNo(); }},
    {"serial", [](Port &p, const Setting &s) { p.hasSerial = s.yesOrNo(); }},
    {"memory size",
     [](Port &p, const Setting &s) { p.memorySize = static_cast<uint32_t>(s.size(0, kGiga / 4)); }},
    {"no file", [](Port &p, const Setting &s) { p.noFile = s.yesOrNo(); }},
};

constexpr std::string_view kRegisterPrefix = "register ";

template <typename Description, size_t Count>
void take(const Key<Description> (&keys)[Count], Description &description, const Setting &setting)
{
    const auto key = std::find_if(std::begin(keys), std::end(keys),
                                  [&](const auto &known) { return setting.key == known.name; });
    if (key == std::end(keys))
        throw std::runtime_error("there is no key \"" + setting.key + "\" here");
    key->take(description, setting);
}

void takePortSetting(PortDescription &port, const Setting &setting)
{
    if (setting.key.compare(0, kRegisterPrefix.size(), kRegisterPrefix) != 0)
        return take(kPortKeys, port, setting);
    const std::string address = setting.key.substr(kRegisterPrefix.size());
    port.registers[parseSmallNumber(address)] = setting.number();
}

/// The number behind "port " in a section's name.
uint64_t sectionPort(const std::string &section, uint64_t portCount)
{
    const std::string prefix = "port ";
    if (section.compare(0, prefix.size(), prefix) != 0)
        throw std::runtime_error("there is no section [" + section + "]");
    const uint64_t number = parseNumber(section.substr(prefix.size()), 1, 255);
    if (number > portCount)
        throw std::runtime_error("[" + section + "]: the count of \"ports\" is " +
                                 std::to_string(portCount));
    return number;
}

/// Calls \a action for each setting that \a concerns accepts. Adds file and line to what it raises.
template <typename Concerns, typename Action>
void forEach(const std::filesystem::path &file, const std::vector<Setting> &settings,
             Concerns concerns, Action action)
{
    for (const Setting &setting : settings) {
        if (!concerns(setting))
            continue;
        try {
            action(setting);
        } catch (const std::runtime_error &error) {
            failAt(file, setting.line, error.what());
        }
    }
}

void checkPorts(const std::filesystem::path &file, const RecorderDescription &recorder)
{
    std::set<std::string> names;
    for (const PortDescription &port : recorder.ports) {
        if (!names.insert(port.name).second)
            throw std::runtime_error(nameOf(file) + ": two ports are called " + port.name);
        for (const auto &[address, value] : port.registers)
            if (uint64_t(address) + 4 > port.memorySize)
                throw std::runtime_error(nameOf(file) + ": the camera of " + port.name +
                                         " has no memory for register " + std::to_string(address));
    }
}

} // namespace

RecorderDescription readRecorderDescription(const std::filesystem::path &file)
{
    RecorderDescription recorder;
    recorder.name = nameOf(file.parent_path().filename());
    recorder.ports.resize(1);

    const std::vector<Setting> settings = readSettings(file);
    forEach(
        file, settings, [](const Setting &setting) { return setting.section.empty(); },
        [&](const Setting &setting) { take(kRecorderKeys, recorder, setting); });
    // [ports] comes first wherever it stands in the file, so that a port's own section wins.
    PortDescription common;
    forEach(
        file, settings, [](const Setting &setting) { return setting.section == "ports"; },
        [&](const Setting &setting) { takePortSetting(common, setting); });
    for (size_t i = 0; i < recorder.ports.size(); ++i) {
        recorder.ports[i] = common;
        if (common.name.empty())
            recorder.ports[i].name = "Port " + std::to_string(i + 1);
    }
    forEach(
        file, settings,
        [](const Setting &setting) {
            return !setting.section.empty() && setting.section != "ports";
        },
        [&](const Setting &setting) {
            const uint64_t port = sectionPort(setting.section, recorder.ports.size());
            takePortSetting(recorder.ports[port - 1], setting);
        });
    checkPorts(file, recorder);
    return recorder;
}

} // namespace simulator

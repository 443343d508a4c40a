#include "storage/file_record.h"

#include "errors.h"
#include "storage/text_record.h"

#include <sstream>

namespace simulator {

namespace {

TextSection formatStream(const StreamRecord &stream)
{
    TextSection section;
    section.title = "stream " + std::to_string(stream.id);
    section.addNumber("id", stream.id);
    section.addText("port name", stream.portName);
    section.addNumber("port", stream.port);
    section.addNumber("width", stream.width);
    section.addNumber("height", stream.height);
    section.addNumber("frames", stream.closed ? stream.frames : 0);
    section.addText("closed", stream.closed ? "yes" : "no");
    section.addExtents("extents", stream.extents);
    return section;
}

StreamRecord parseStream(const TextSection &section)
{
    StreamRecord stream;
    stream.id = section.smallNumber("id");
    stream.portName = section.text("port name");
    stream.port = section.smallNumber("port");
    stream.width = section.smallNumber("width");
    stream.height = section.smallNumber("height");
    stream.frames = section.number("frames");
    stream.closed = section.text("closed") == "yes";
    stream.extents = section.extents("extents");
    return stream;
}

} // namespace

uint64_t FileRecord::stripes() const
{
    uint64_t stripes = stripesOf(extents);
    for (const StreamRecord &stream : streams)
        stripes += stripesOf(stream.extents);
    return stripes;
}

const StreamRecord &FileRecord::stream(uint32_t streamId) const
{
    for (const StreamRecord &stream : streams)
        if (stream.id == streamId)
            return stream;
    raiseError("There is no stream " + std::to_string(streamId) + " in file " + std::to_string(id) +
               ".");
}

std::string formatFileRecord(const FileRecord &record)
{
    std::vector<TextSection> sections(1);
    sections[0].addNumber("id", record.id);
    sections[0].addText("name", record.name);
    sections[0].addNumber("created", record.created);
    sections[0].addNumber("written blocks", record.writtenBlocks);
    sections[0].addExtents("extents", record.extents);
    for (const StreamRecord &stream : record.streams)
        sections.push_back(formatStream(stream));
    return formatSections(sections);
}

FileRecord parseFileRecord(const std::string &text)
{
    const std::vector<TextSection> sections = parseSections(text);
    FileRecord record;
    record.id = sections[0].smallNumber("id");
    record.name = sections[0].text("name");
    record.created = sections[0].number("created");
    record.writtenBlocks = sections[0].number("written blocks");
    record.extents = sections[0].extents("extents");
    for (size_t i = 1; i < sections.size(); ++i)
        record.streams.push_back(parseStream(sections[i]));
    return record;
}

std::string formatSetRecord(const SetRecord &record)
{
    std::string drives;
    for (const uint32_t drive : record.drives)
        drives += (drives.empty() ? "" : " ") + std::to_string(drive + 1);
    std::vector<TextSection> sections(1);
    sections[0].addText("name", record.name);
    sections[0].addNumber("cluster size", record.clusterBytes);
    sections[0].addNumber("metadata size", record.metadataBytes);
    sections[0].addNumber("drive size", record.driveBytes);
    sections[0].addText("drives", drives);
    sections[0].addNumber("next file", record.nextFileId);
    return formatSections(sections);
}

SetRecord parseSetRecord(const std::string &text)
{
    const TextSection section = parseSections(text)[0];
    SetRecord record;
    record.name = section.text("name");
    record.clusterBytes = section.smallNumber("cluster size");
    record.metadataBytes = section.smallNumber("metadata size");
    record.driveBytes = section.number("drive size");
    record.nextFileId = section.smallNumber("next file");
    std::istringstream drives(section.text("drives"));
    for (uint32_t drive = 0; drives >> drive;)
        record.drives.push_back(drive - 1);
    if (record.clusterBytes == 0 || record.drives.empty())
        raiseError("Damaged description of a drive set.");
    return record;
}

} // namespace simulator

#include "client/tools/camera.h"

#include <exception>

namespace tavu::tools {

namespace {

using Clock = std::chrono::steady_clock;

/// Opens a port's channel unless it is open already, and then closes it at the end.
class OpenChannel
{
public:
    OpenChannel(client::Connection &service, CameraPort port,
                const client::SerialSettings &settings)
        : service_(service), port_(port)
    {
        try {
            service.serialOpen(port.device, port.port, settings);
            own_ = true;
        } catch (const client::ServiceError &error) {
            if (error.what() != std::string_view("Serial port already open."))
                throw;
        }
    }
    OpenChannel(const OpenChannel &) = delete;
    OpenChannel &operator=(const OpenChannel &) = delete;
    ~OpenChannel()
    {
        try {
            if (own_)
                service_.serialClose(port_.device, port_.port);
        } catch (const std::exception &) {
            // The answer, or the reason why there is none, is what people want to see.
        }
    }

private:
    client::Connection &service_;
    const CameraPort port_;
    bool own_ = false;
};

/// A line from the camera, without its end. It is read byte by byte, as its length isn't known.
std::string receiveLine(client::Connection &service, CameraPort port, Clock::time_point deadline,
                        const GivenUp &givenUp)
{
    std::string line;
    while (true) {
        const client::Bytes byte = receiveSerial(service, port, 1, deadline, givenUp);
        const bool isEnd = byte.empty() || byte[0] == '\r' || byte[0] == '\n';
        if (!isEnd)
            line += static_cast<char>(byte[0]);
        else if (!line.empty() || byte.empty() || byte[0] == '\r')
            return line;
    }
}

} // namespace

client::Bytes receiveSerial(client::Connection &service, CameraPort port, uint32_t size,
                            Clock::time_point deadline, const GivenUp &givenUp)
{
    // The service waits a tenth of a second for all of them and takes none if some are missing.
    while (true) {
        try {
            return service.serialRead(port.device, port.port, size);
        } catch (const client::ServiceError &error) {
            if (error.what() != std::string_view("Serial port recieve failed.") ||
                Clock::now() >= deadline || givenUp())
                throw;
        }
    }
}

std::string askCamera(client::Connection &service, CameraPort port,
                      const client::SerialSettings &settings, const std::string &line,
                      std::chrono::microseconds timeout, const GivenUp &givenUp)
{
    const OpenChannel channel(service, port, settings);
    service.serialClear(port.device, port.port);
    const std::string question = line + "\r";
    service.serialWrite(port.device, port.port, client::Bytes(question.begin(), question.end()));
    return receiveLine(service, port, Clock::now() + timeout, givenUp);
}

} // namespace tavu::tools

#include "client/tavuctl/arguments.h"
#include "client/tavuctl/console.h"
#include "client/tavuctl/groups.h"
#include "client/tools/camera.h"
#include "client/tools/json_values.h"
#include "client/tools/text.h"

#include <chrono>
#include <exception>

namespace tavu::ctl {

namespace {

struct CameraOptions
{
    client::SerialSettings serial;
    std::optional<uint32_t> baudRate;
    uint32_t size = 4;
    uint32_t address = 0;
    std::string data;
    bool text = false;
    std::optional<uint64_t> timeout; ///< microseconds
};

using Options = std::shared_ptr<CameraOptions>;

client::Bytes dataOf(const CameraOptions &options)
{
    return options.text ? client::Bytes(options.data.begin(), options.data.end())
                        : parseHex(options.data);
}

void showBytes(const Session &session, const CameraOptions &options, const client::Bytes &bytes)
{
    if (session.json)
        printJson({{"data", blobJson(bytes)}});
    else if (options.text)
        print({reinterpret_cast<const char *>(bytes.data()), bytes.size()});
    else
        printLine(hexText(bytes));
}

int openSerial(Session &session, const CameraOptions &options)
{
    session.service().serialOpen(session.device, session.portNumber(), options.serial);
    return kSuccess;
}

int baudRate(Session &session, const CameraOptions &options)
{
    client::Connection &service = session.service();
    if (options.baudRate) {
        service.serialSetBaudRate(session.device, session.portNumber(), *options.baudRate);
        return kSuccess;
    }
    const uint32_t rate = service.serialGetBaudRate(session.device, session.portNumber());
    if (session.json)
        printJson({{"baudRate", rate}});
    else
        printLine(std::to_string(rate));
    return kSuccess;
}

int readSerial(Session &session, const CameraOptions &options)
{
    catchInterrupts();
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::microseconds(options.timeout.value_or(0));
    showBytes(session, options,
              receiveSerial(session.service(), {session.device, session.portNumber()}, options.size,
                            deadline, interrupted));
    return kSuccess;
}

int ask(Session &session, const CameraOptions &options)
{
    catchInterrupts();
    const auto timeout = std::chrono::microseconds(options.timeout.value_or(2'000'000));
    const std::string answer = askCamera(session.service(), {session.device, session.portNumber()},
                                         options.serial, options.data, timeout, interrupted);
    if (session.json)
        printJson({{"answer", answer}});
    else
        printLine(printable(answer));
    return kSuccess;
}

int writeSerial(Session &session, const CameraOptions &options)
{
    const client::Bytes data = dataOf(options);
    const uint32_t sent = session.service().serialWrite(session.device, session.portNumber(), data);
    if (session.json)
        printJson({{"size", sent}});
    if (sent == data.size())
        return kSuccess;
    throw Failure("only " + std::to_string(sent) + " of " + counted(data.size(), "byte") +
                  " went out");
}

int readRegister(Session &session, const CameraOptions &options)
{
    showBytes(session, options,
              session.service().registerRead(session.device, session.portNumber(), options.address,
                                             options.size));
    return kSuccess;
}

int writeRegister(Session &session, const CameraOptions &options)
{
    session.service().registerWrite(session.device, session.portNumber(), options.address,
                                    dataOf(options));
    return kSuccess;
}

CLI::App *addTraffic(CLI::App &parent, Session &session, const std::string &name,
                     const std::string &help, const Options &options,
                     int (*action)(Session &, const CameraOptions &))
{
    CLI::App *command = parent.add_subcommand(name, help);
    addDeviceOption(*command, session);
    addPortOption(*command, session);
    setAction(*command, session, [&session, options, action] { return action(session, *options); });
    return command;
}

void addDataArgument(CLI::App &command, const Options &options)
{
    command.add_option("DATA", options->data, "Bytes in hexadecimal, like 0d0a or \"0d 0a\"")
        ->required();
}

void addSizeOption(CLI::App &command, const Options &options)
{
    command.add_option("-n,--size", options->size, "How many bytes to ask for [4]")->type_name("N");
}

void addAddressArgument(CLI::App &command, const Options &options)
{
    command.add_option("ADDRESS", options->address, "Address of the register, like 0x300C")
        ->required();
}

void addSerialSettings(CLI::App &command, const Options &options)
{
    command.add_option("--baud", options->serial.baudRate, "Baud rate [9600]")->type_name("N");
    command.add_option("--parity", options->serial.parity, "Parity, in the recorder's numbers [0]")
        ->type_name("N");
    command.add_option("--stop-bits", options->serial.stopBits, "Stop bits [1]")->type_name("N");
}

void addSerial(CLI::App &app, Session &session)
{
    CLI::App *serial = app.add_subcommand("serial", "Talk to a camera over its serial channel");
    serial->require_subcommand(1);
    addExamples(*serial, {"serial ask \"id\"", "serial open --baud 9600", "serial write 0d0a",
                          "serial read --size 16 --timeout 5s", "serial close"});

    auto options = std::make_shared<CameraOptions>();
    CLI::App *question =
        addTraffic(*serial, session, "ask",
                   "Send a line to the camera and print the one that comes back", options, ask);
    question->add_option("TEXT", options->data, "What to send; a carriage return is put behind it")
        ->required();
    addDurationOption(*question, "--timeout", options->timeout,
                      "How long to wait for the answer [2s]");
    addSerialSettings(*question, options);
    question->footer("A channel that is closed is opened for the time of the question.");
    addJsonOption(*question, session);

    options = std::make_shared<CameraOptions>();
    CLI::App *open = addTraffic(*serial, session, "open", "Open the channel", options, openSerial);
    addSerialSettings(*open, options);

    options = std::make_shared<CameraOptions>();
    CLI::App *baud =
        addTraffic(*serial, session, "baud", "Show or set the baud rate", options, baudRate);
    baud->add_option("RATE", options->baudRate, "The new rate");
    addJsonOption(*baud, session);

    options = std::make_shared<CameraOptions>();
    CLI::App *read =
        addTraffic(*serial, session, "read", "Print what the camera sent", options, readSerial);
    addSizeOption(*read, options);
    addDurationOption(*read, "--timeout", options->timeout,
                      "Wait so long for all the bytes [0.1s]");
    read->add_flag("--text", options->text, "Print the bytes as they are, not in hexadecimal");
    addJsonOption(*read, session);

    options = std::make_shared<CameraOptions>();
    CLI::App *write =
        addTraffic(*serial, session, "write", "Send bytes to the camera", options, writeSerial);
    addDataArgument(*write, options);
    write->add_flag("--text", options->text, "Send DATA as it is, not as hexadecimal");
    addJsonOption(*write, session);

    options = std::make_shared<CameraOptions>();
    addTraffic(*serial, session, "clear", "Forget what hasn't been read", options,
               [](Session &s, const CameraOptions &) -> int {
                   s.service().serialClear(s.device, s.portNumber());
                   return kSuccess;
               });
    addTraffic(*serial, session, "close", "Close the channel", options,
               [](Session &s, const CameraOptions &) -> int {
                   s.service().serialClose(s.device, s.portNumber());
                   return kSuccess;
               });
}

void addRegister(CLI::App &app, Session &session)
{
    CLI::App *registers = app.add_subcommand("register", "Read and write registers of a camera");
    registers->require_subcommand(1);
    addExamples(*registers, {"register read 0x300C", "register write 0x300C 00000001"});

    auto options = std::make_shared<CameraOptions>();
    CLI::App *read =
        addTraffic(*registers, session, "read", "Print bytes in the order of the camera's memory",
                   options, readRegister);
    addAddressArgument(*read, options);
    addSizeOption(*read, options);
    addJsonOption(*read, session);

    options = std::make_shared<CameraOptions>();
    CLI::App *write =
        addTraffic(*registers, session, "write", "Write bytes in the order of the camera's memory",
                   options, writeRegister);
    addAddressArgument(*write, options);
    addDataArgument(*write, options);
}

} // namespace

void addCameraCommands(CLI::App &app, Session &session)
{
    addSerial(app, session);
    addRegister(app, session);
}

} // namespace tavu::ctl

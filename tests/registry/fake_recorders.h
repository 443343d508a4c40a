#pragma once

#include "registry/recorder_library.h"

#include <map>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace tavu {

using Text = const std::string &;

/// What a fake library offers, shared by it, its devices and the test that scripts it.
struct FakeRecorders
{
    struct Recorder
    {
        std::string name;
        std::string alternativeName;
        bool disconnected = false;
    };
    enum class Fault
    {
        WithText,
        WithoutText
    };

    /// Writes a call down, with its arguments, and raises if a fault is set for that text.
    template <typename... Arguments>
    void note(const std::string &call, const Arguments &...arguments)
    {
        std::ostringstream text;
        text << call;
        ((text << ' ' << +arguments), ...);
        std::lock_guard guard(mutex);
        calls += text.str() + ";";
        const auto fault = faults.find(text.str());
        if (fault != faults.end() && fault->second == Fault::WithoutText)
            throw 1;
        if (fault != faults.end())
            throw std::runtime_error(text.str() + " failed");
    }

    /// The calls noted since the last time.
    std::string takeCalls()
    {
        std::lock_guard guard(mutex);
        return std::exchange(calls, std::string());
    }

    Recorder at(uint32_t index)
    {
        std::lock_guard guard(mutex);
        return recorders.at(index);
    }

    void change(std::vector<Recorder> newRecorders)
    {
        std::lock_guard guard(mutex);
        recorders = std::move(newRecorders);
    }

    std::mutex mutex; ///< guards calls, recorders and faults while a manager runs
    std::string calls;
    std::vector<Recorder> recorders;
    std::map<std::string, Fault> faults;
    std::function<void()> callback;
    std::function<void()> duringSetup = [] {};
    std::function<void()> duringReconnect = [] {};
};

/// A device that writes down the calls which a manager's tests look at.
class FakeDevice : public RecorderDevice
{
public:
    explicit FakeDevice(std::shared_ptr<FakeRecorders> fake) : fake_(std::move(fake)) {}

    uint32_t collectionIndex() override { return index_; }
    void identify(uint32_t index, Text name) override { index_ = index, name_ = name; }
    void connect() override { fake_->note("connect", index_); }
    void reconnect() override { fake_->note("reconnect", index_), fake_->duringReconnect(); }
    void markDisconnected() override { fake_->note("markDisconnected", index_); }
    std::string name() override { return name_; }
    bool isConnected() override { return !fake_->at(index_).disconnected; }

    void setup() override { fake_->note("setup"), fake_->duringSetup(); }

    // The tests don't look at these.
    void serialOpen(uint8_t, uint32_t, uint8_t, uint8_t) override {}
    void removeFile(uint32_t, uint32_t) override {}
    void pairPort(uint8_t, Text, const void *, uint32_t, uint16_t) override {}
    void repairPort(uint8_t, Text, const void *, uint32_t, uint16_t) override {}
    void unpairPort(uint8_t) override {}
    void setPortConfig(uint8_t, uint16_t, uint16_t, uint32_t, uint32_t) override {}
    void startRecording(uint32_t, uint8_t, uint8_t, uint64_t, bool, uint64_t) override {}
    void stopRecording() override {}
    void renameFile(uint32_t, uint32_t, Text) override {}
    std::string setFileInfo(uint32_t, uint32_t, const FileUpdate &) override { return {}; }
    bool hasIncompleteFile() override { return false; }
    void discardIncompleteFile() override {}
    void startRecovery() override {}
    void finishRecovery() override {}
    void cancelRecovery() override {}
    uint32_t recoveryStatus() override { return 0; }
    std::string recoveryError() override { return {}; }
    uint32_t serialGetBaudRate(uint8_t) override { return 0; }
    void serialSetBaudRate(uint8_t, uint32_t) override {}
    uint32_t serialRead(uint8_t, void *, uint32_t) override { return 0; }
    uint32_t serialWrite(uint8_t, const void *, uint32_t) override { return 0; }
    void serialClear(uint8_t) override {}
    void serialClose(uint8_t) override {}
    void registerRead(uint8_t, uint32_t, void *, uint32_t) override {}
    void registerWrite(uint8_t, uint32_t, const void *, uint32_t) override {}
    uint8_t portCount() override { return 0; }
    std::string portName(uint8_t) override { return {}; }
    bool isCxp() override { return false; }
    std::vector<FileRecord> listFiles() override { return {}; }
    void openFile(uint32_t &, std::string &, uint32_t, uint32_t) override {}
    void fileInfo(uint32_t, uint16_t &, uint16_t &, uint32_t &, uint64_t &, uint64_t &) override {}
    void closeFile(uint32_t) override {}
    void readFrame(uint32_t, uint64_t) override {}
    void fileIdentity(uint32_t, uint32_t, ByteBlock &) override {}
    void portIdentity(uint8_t, ByteBlock &) override {}
    uint16_t framesPerPacket(uint8_t) override { return 0; }
    std::string pairedTo(uint8_t) override { return {}; }
    void getPortConfig(uint8_t, uint16_t &, uint16_t &, uint32_t &, uint32_t &) override {}
    void softwareTrigger() override {}
    bool isRecordingDone() override { return false; }
    void recordingFile(uint8_t, uint32_t &, uint32_t &) override {}
    void recordingProgress(uint8_t, uint64_t &, bool &) override {}
    uint8_t percentUsed() override { return 0; }
    uint8_t hardwareType() override { return 0; }
    std::string startLive(uint8_t) override { return {}; }
    void stopLive(uint8_t) override {}
    void liveFrame(uint8_t, uint16_t &, uint16_t &, uint32_t &) override {}

private:
    std::shared_ptr<FakeRecorders> fake_;
    uint32_t index_ = kNoIndex;
    std::string name_;
};

class FakeLibrary : public RecorderLibrary
{
public:
    explicit FakeLibrary(std::shared_ptr<FakeRecorders> fake) : fake_(std::move(fake)) {}

    void start(uint32_t interfaces) override
    {
        fake_->note("start", interfaces);
        started_ = true;
    }
    void release() override { started_ = false; }
    bool hasCollection() const override { return started_; }

    uint64_t count() override
    {
        fake_->note("count");
        std::lock_guard guard(fake_->mutex);
        return fake_->recorders.size();
    }
    std::string deviceName(uint32_t index) override
    {
        fake_->note("deviceName", index);
        return fake_->at(index).name;
    }
    bool isDisconnected(uint32_t index) override { return fake_->at(index).disconnected; }
    std::string alternativeName(uint32_t index) override
    {
        fake_->note("alternativeName", index);
        return fake_->at(index).alternativeName;
    }
    uint32_t registerChangeCallback(std::function<void()> callback) override
    {
        fake_->callback = std::move(callback);
        return 77;
    }
    void unregisterChangeCallback(uint32_t id) override { fake_->note("unregister", id); }
    std::unique_ptr<RecorderDevice> createDevice() override
    {
        return std::make_unique<FakeDevice>(fake_);
    }
    const char *failureText() noexcept override
    {
        try {
            throw;
        } catch (const std::exception &error) {
            return error.what();
        } catch (...) {
            return nullptr;
        }
    }

private:
    std::shared_ptr<FakeRecorders> fake_;
    bool started_ = false;
};

} // namespace tavu

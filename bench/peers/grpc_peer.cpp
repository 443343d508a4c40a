#include "peers/trip_peers.h"

#include "grpc_peer.grpc.pb.h"

#include <chrono>
#include <grpcpp/grpcpp.h>
#include <memory>
#include <stdexcept>

namespace tavu::bench {

namespace {

class Devices final : public rpc::Devices::Service
{
    grpc::Status DeviceCount(grpc::ServerContext *, const rpc::CountRequest *,
                             rpc::CountReply *reply) override
    {
        reply->set_count(1);
        return grpc::Status::OK;
    }
};

std::string endpoint(const std::string &name)
{
    return "unix:" + localSocketAddress(name);
}

} // namespace

void serveGrpc(const std::string &name)
{
    Devices devices;
    grpc::ServerBuilder builder;
    builder.AddListeningPort(endpoint(name), grpc::InsecureServerCredentials());
    builder.RegisterService(&devices);
    const auto server = builder.BuildAndStart();
    if (!server)
        throw std::runtime_error("gRPC can't listen");
    server->Wait();
}

Trip connectGrpc(const std::string &name)
{
    const auto channel = grpc::CreateChannel(endpoint(name), grpc::InsecureChannelCredentials());
    if (!channel->WaitForConnected(std::chrono::system_clock::now() + std::chrono::seconds(30)))
        throw std::runtime_error("gRPC can't connect");
    const std::shared_ptr<rpc::Devices::Stub> stub = rpc::Devices::NewStub(channel);
    return [stub] {
        grpc::ClientContext context;
        rpc::CountReply reply;
        if (!stub->DeviceCount(&context, {}, &reply).ok())
            throw std::runtime_error("gRPC's reply is missing");
    };
}

} // namespace tavu::bench

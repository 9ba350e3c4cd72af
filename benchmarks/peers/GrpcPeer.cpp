#include <stdexcept>

#include <grpcpp/grpcpp.h>

#include "benchmarks/peers/Peer.h"
#include "benchmarks/peers/steering.grpc.pb.h"
#include "benchmarks/support/Process.h"

namespace {

constexpr const char* kAddress = "127.0.0.1:5012";

class CSteering : public benchmarks::Steering::Service
{
public:
    grpc::Status EngageSteering(grpc::ServerContext* /*context*/,
                                const benchmarks::EngageRequest* request,
                                benchmarks::EngageReply* reply) override
    {
        reply->set_result(request->one());
        return grpc::Status::OK;
    }
};

void Serve()
{
    CSteering steering;
    grpc::ServerBuilder builder;
    builder.AddListeningPort(kAddress, grpc::InsecureServerCredentials());
    builder.RegisterService(&steering);
    const std::unique_ptr<grpc::Server> server = builder.BuildAndStart();
    if (server == nullptr) {
        throw std::runtime_error("gRPC cannot listen");
    }
    server->Wait();
}

class CGrpcPeer : public CPeer
{
public:
    CGrpcPeer()
        : m_service(Serve), m_stub(benchmarks::Steering::NewStub(
                                grpc::CreateChannel(kAddress, grpc::InsecureChannelCredentials())))
    {
    }

    void Call() override
    {
        grpc::ClientContext context;
        context.set_wait_for_ready(true); // the service may just be starting
        benchmarks::EngageRequest request;
        request.set_one(1);
        benchmarks::EngageReply reply;
        if (!m_stub->EngageSteering(&context, request, &reply).ok()) {
            throw std::runtime_error("gRPC has failed");
        }
    }

private:
    Benchmarks::CChild m_service;
    std::unique_ptr<benchmarks::Steering::Stub> m_stub;
};

} // namespace

std::unique_ptr<CPeer> MakeGrpcPeer()
{
    return std::make_unique<CGrpcPeer>();
}

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <linux/sock_diag.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "platform/linux/process_network.h"
#include "platform/netlink_message.h"
#include "support/temp_dir.h"
#include "support/virtual_dispatcher.h"

namespace ostrel {
namespace {

using sockdiag::SocketTraffic;
using std::chrono::seconds;

// One socket's reply; `infoLength` cuts tcp_info short as an older kernel would.
std::vector<char> socketReply(uint32_t inode, uint64_t received, uint64_t acked,
                              size_t infoLength = sizeof(tcp_info)) {
    tcp_info info{};
    info.tcpi_bytes_received = received;
    info.tcpi_bytes_acked = acked;
    return testing::NetlinkMessage(SOCK_DIAG_BY_FAMILY,
                                   inet_diag_msg{.idiag_family = AF_INET, .idiag_inode = inode})
        .attribute(INET_DIAG_INFO, info, infoLength)
        .bytes();
}

TEST(SockDiagReplies, SocketsWithOwnersAndCountersUntilDoneErrorsAndTruncation) {
    using testing::asBytes;
    std::vector<SocketTraffic> sockets;
    const auto first = testing::joined(
        {socketReply(101, 10, 20), socketReply(0, 5, 5), socketReply(102, 1, 1, 100)});
    EXPECT_EQ(sockdiag::parseDatagram(asBytes(first), sockets), false);
    const auto last = testing::joined(
        {socketReply(103, 30, 40), testing::NetlinkMessage(NLMSG_DONE, int32_t{0}).bytes()});
    EXPECT_EQ(sockdiag::parseDatagram(asBytes(last), sockets), true);
    // The orphan (inode 0) and the socket with a short tcp_info are left out.
    ASSERT_EQ(sockets.size(), 2u);
    EXPECT_EQ(std::tuple(sockets[0].inode, sockets[0].bytesReceived, sockets[0].bytesAcked),
              std::tuple(101u, 10u, 20u));
    EXPECT_EQ(std::tuple(sockets[1].inode, sockets[1].key.family), std::tuple(103u, AF_INET));

    const auto refused = testing::NetlinkMessage(NLMSG_ERROR, nlmsgerr{.error = -EACCES}).bytes();
    EXPECT_EQ(sockdiag::parseDatagram(asBytes(refused), sockets).error(), ReadError::permission);
    EXPECT_TRUE(sockdiag::parseDatagram(asBytes(refused), sockets, true));  // a closed socket
    auto cut = socketReply(104, 1, 1);
    cut.resize(cut.size() - 8);  // the header claims more than the datagram holds
    EXPECT_EQ(sockdiag::parseDatagram(asBytes(cut), sockets).error(), ReadError::parse);
}

TEST(SocketOwnerCache, ReadsNewProcessesAndOwnersOnlyForUnknownSocketsAndEveryoneRarely) {
    using Plan = procfs::SocketOwnerCache::Plan;
    procfs::SocketOwnerCache owners;
    Duration now = seconds(1000);
    const auto step = [&](const std::vector<uint64_t>& sockets, const std::vector<int32_t>& pids,
                          const std::map<int32_t, std::vector<uint64_t>>& tables) {
        const Plan plan = owners.plan(sockets, pids, now);
        std::vector<procfs::SocketOwnerCache::Table> read;
        for (const int32_t pid : plan.pidsToRead) {
            const auto table = tables.find(pid);
            read.push_back({pid, table == tables.end() ? std::vector<uint64_t>{} : table->second});
        }
        owners.apply(plan, read, sockets, pids, now);
        return plan;
    };

    const std::map<int32_t, std::vector<uint64_t>> tables = {{1, {7}}, {2, {8}}};
    EXPECT_TRUE(step({7, 8, 9}, {1, 2, 3}, tables).full);  // first: everyone
    EXPECT_EQ(owners.owner(7), 1);
    EXPECT_EQ(owners.owner(8), 2);
    EXPECT_FALSE(owners.owner(9));  // another user's: waits for the next full read

    // Every socket has its owner: a new process is not read.
    now += seconds(1);
    EXPECT_TRUE(step({7, 8, 9}, {1, 2, 3, 4}, tables).pidsToRead.empty());

    // A socket of unknown owner: the processes not read yet, and the owners.
    now += seconds(1);
    const Plan unknown = step({7, 8, 9, 10, 12}, {1, 2, 3, 4}, {{1, {7, 10}}, {2, {8}}, {4, {12}}});
    EXPECT_TRUE(unknown.owners);
    EXPECT_EQ(unknown.pidsToRead, (std::vector<int32_t>{1, 2, 4}));
    EXPECT_EQ(owners.owner(10), 1);
    EXPECT_EQ(owners.owner(12), 4);

    now += seconds(1);
    EXPECT_TRUE(step({7, 8, 9, 10, 11}, {1, 2, 3, 4}, tables).pidsToRead.empty());  // too soon
    now += seconds(30);
    EXPECT_TRUE(step({7, 8, 9, 10, 11}, {1, 2, 3, 4}, tables).full);

    now += seconds(1);
    step({8}, {2}, tables);  // process 1 and its sockets are gone
    EXPECT_FALSE(owners.owner(7));
    EXPECT_EQ(owners.owner(8), 2);
}

// Socket lists handed out by the test; counts how the kernel would have been asked.
struct FakeDiag : sockdiag::SocketDiag {
    std::vector<SocketTraffic> sockets;
    bool failLookups = false;
    int dumps = 0;
    int lookups = 0;
    tl::expected<std::vector<SocketTraffic>, ReadError> dumpAll() override {
        ++dumps;
        return sockets;
    }
    tl::expected<std::vector<SocketTraffic>, ReadError> lookUp(
        const std::vector<SocketTraffic>& known) override {
        ++lookups;
        if (failLookups) return tl::unexpected(ReadError::parse);
        std::vector<SocketTraffic> found;
        for (const auto& socket : sockets) {
            for (const auto& wanted : known) {
                if (wanted.inode == socket.inode) found.push_back(socket);
            }
        }
        return found;
    }
};

TEST(LinuxProcessNetworkSource, SumsPerProcessAndListsSocketsOnlyWhenTheCountChanges) {
    testing::TempDir proc;
    proc.write("net/sockstat", "TCP: inuse 3 orphan 0\n");
    proc.write("net/sockstat6", "TCP6: inuse 0\n");
    proc.write("20/stat", "20 (curl) S 1 1 1 0 -1 0 0 0 0 0 0 0 0 0 20 0 1 0 5 1 1 0\n");
    proc.write("21/stat", "21 (sshd) S 1 1 1 0 -1 0 0 0 0 0 0 0 0 0 20 0 1 0 6 1 1 0\n");
    std::filesystem::create_directories(proc / "20/fd");
    std::filesystem::create_directories(proc / "21/fd");
    std::filesystem::create_symlink("socket:[500]", proc / "20/fd/3");
    std::filesystem::create_symlink("socket:[501]", proc / "20/fd/4");
    std::filesystem::create_symlink("/dev/null", proc / "20/fd/5");
    std::filesystem::create_symlink("socket:[600]", proc / "21/fd/3");

    auto diag = std::make_shared<FakeDiag>();
    diag->sockets = {{500, 100, 10}, {501, 50, 5}, {600, 0, 0}, {700, 9, 9}};
    testing::VirtualClock clock;
    LinuxProcessNetworkSource source(proc.path(), nullptr, clock, diag);
    const std::vector<int32_t> listed = {20, 21};

    EXPECT_EQ(source.readNetworkCounters(listed).value(),
              (std::vector<ProcessNetworkCounters>{{20, "curl", 150, 15}}));
    diag->sockets[0].bytesReceived = 300;
    clock.advance(seconds(2));
    EXPECT_EQ(source.readNetworkCounters(listed).value().front().bytesIn, 350u);
    EXPECT_EQ(diag->dumps, 1);
    EXPECT_EQ(diag->lookups, 1);

    proc.write("net/sockstat", "TCP: inuse 4 orphan 0\n");
    clock.advance(seconds(2));
    source.readNetworkCounters(listed);
    EXPECT_EQ(diag->dumps, 2);
    clock.advance(LinuxProcessNetworkSource::kDiscoveryPeriod);
    source.readNetworkCounters(listed);
    EXPECT_EQ(diag->dumps, 3);
    diag->failLookups = true;
    clock.advance(seconds(1));
    EXPECT_EQ(source.readNetworkCounters(listed).value().size(), 1u);  // fell back to the full list
    EXPECT_EQ(diag->dumps, 4);
}

// The real kernel: bytes over a loopback connection show under this process.
TEST(LinuxProcessNetworkSource, CountsThisProcesssLoopbackTraffic) {
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    ASSERT_EQ(::listen(listener, 1), 0);
    ASSERT_EQ(::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length), 0);
    const int client = ::socket(AF_INET, SOCK_STREAM, 0);
    ASSERT_EQ(::connect(client, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    const int server = ::accept(listener, nullptr, nullptr);
    char payload[3000] = {};
    ASSERT_EQ(::write(client, payload, sizeof(payload)), 3000);
    ASSERT_EQ(::read(server, payload, sizeof(payload)), 3000);

    testing::VirtualClock clock;
    LinuxProcessNetworkSource source("/proc", nullptr, clock);
    // The sender counts bytes once acknowledged, which a delayed acknowledgement may hold back.
    ProcessNetworkCounters self;
    for (int attempt = 0; attempt < 100 && self.bytesOut < 3000; ++attempt) {
        if (attempt > 0) usleep(10000);
        clock.advance(seconds(1));
        const auto counters = source.readNetworkCounters({getpid()});
        ASSERT_TRUE(counters) << describe(counters.error());
        for (const auto& entry : *counters) {
            if (entry.pid == getpid()) self = entry;
        }
    }
    ::close(client);
    ::close(server);
    ::close(listener);
    EXPECT_GE(self.bytesIn, 3000u);
    EXPECT_GE(self.bytesOut, 3000u);
}

}  // namespace
}  // namespace ostrel

// The example agent's delivery to standard output: which records leave its buffer files, and when.
#include "../../examples/agent/Delivery.h"

#include "ScratchHome.h"

#include <fcntl.h>
#include <gtest/gtest.h>

namespace {

const std::string F = "\x03\x1F^";
const std::string recordEnd = F + "\x03\x1F]\n";

std::string record(const std::string &head, const std::string &text) {
    return "1700000000" + F + head + F + text + recordEnd;
}

class AgentDelivery : public testing::Test {
protected:
    AgentDelivery() {
        g_nDataBufferSaveMaxSize = 10;
        std::fflush(stdout);
        EXPECT_EQ(pipe2(m_pipe, O_CLOEXEC | O_NONBLOCK), 0);
        dup2(m_pipe[1], STDOUT_FILENO);
    }
    ~AgentDelivery() override {
        dup2(m_console, STDOUT_FILENO);
        for (const int descriptor : {m_console, m_pipe[0], m_pipe[1]})
            close(descriptor);
        g_nDataBufferSaveMaxSize = 0;
    }

    void keep(const std::string &content) { home.write("agent/buffer/20260101-BUF_1.buf", content); }
    static bool keepsNothing() { return std::filesystem::is_empty("../buffer"); }

    // What has come out since the last call.
    std::string delivered() {
        std::string text(1 << 20, '\0');
        const ssize_t size = read(m_pipe[0], text.data(), text.size());
        text.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
        return text;
    }

    ScratchHome home;
    const int m_console = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    int m_pipe[2];
};

TEST_F(AgentDelivery, CutRecordAtTheEndOfAnEarlierRunCostsNoOtherRecord) {
    // In the file that the next record goes to, the one of today.
    ASSERT_EQ(fgBufFileWrite("", "7 1 cpu 5", "one"), 1);
    const auto today = std::filesystem::directory_iterator("../buffer")->path();
    std::ofstream(today, std::ios::app) << "1700000000" + F + "7 2 cpu 6" + F + "hal";

    Delivery delivery(nullptr);
    delivery.take("load", "two");
    delivery.sendKept();
    const std::string output = delivered();
    const std::string head = "7 1 cpu 5 3\none" + delivery.run + " 1 load ";
    EXPECT_EQ(output.substr(0, head.size()), head);
    EXPECT_EQ(output.substr(output.size() - 6), " 3\ntwo");
    EXPECT_TRUE(keepsNothing());
}

TEST_F(AgentDelivery, RecordWithoutItsFieldsIsLeftOut) {
    keep("garbage" + recordEnd + record("7 2 cpu 6", "two") + std::string(20, '\0') + recordEnd);
    Delivery(nullptr).sendKept();
    EXPECT_EQ(delivered(), "7 2 cpu 6 3\ntwo");
    EXPECT_TRUE(keepsNothing());
}

TEST_F(AgentDelivery, AnotherFileInThePlaceOfOneSentInPartIsSentFromItsStart) {
    // The second record does not fit into the pipe.
    keep(record("7 1 cpu 5", "a first text of some length") + record("7 2 cpu 6", std::string(1 << 20, 'x')));
    Delivery delivery(nullptr);
    delivery.sendKept();
    EXPECT_EQ(delivered().substr(0, 12), "7 1 cpu 5 27");
    EXPECT_FALSE(keepsNothing());

    keep(record("8 1 cpu 7", "s"));
    delivery.sendKept();
    EXPECT_EQ(delivered(), "8 1 cpu 7 1\ns");
    EXPECT_TRUE(keepsNothing());
}

TEST_F(AgentDelivery, FileThatCannotBeReadIsKept) {
    // A directory opens and gives an error when it is read; an empty one could be removed.
    std::filesystem::create_directory("../buffer/20260101-BUF_1.buf");
    Delivery delivery(nullptr);
    delivery.sendKept();
    EXPECT_FALSE(keepsNothing());
}

} // namespace

// The receiver interface: the link calls an implementation through it, and an
// implementation can be destroyed through it.
#include "qav_mnt_fwupdate_lib_receiver_aoa.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using norvane::QAV_MNT_FWUPDATE_PACKATE_HEADER_;
using norvane::qav_mnt_fwupdate_lib_receiver_aoa;

// Notes what reached it and whether it was destroyed.
class noting_receiver : public qav_mnt_fwupdate_lib_receiver_aoa {
public:
    explicit noting_receiver(bool& destroyed) : destroyed_(destroyed) {}
    ~noting_receiver() override { destroyed_ = true; }

    int act_notify_recv_header(const QAV_MNT_FWUPDATE_PACKATE_HEADER_& header) override
    {
        last_command = header.command;
        return 0;
    }
    int act_notify_recv_body(unsigned int size, const char* data, int isRecvEnd) override
    {
        last_body.assign(data, size);
        last_end = isRecvEnd;
        return 1;
    }

    unsigned int last_command = 0;
    std::string last_body;
    int last_end = -1;

private:
    bool& destroyed_;
};

TEST(receiver_aoa, deleting_through_the_interface_runs_the_implementation_destructor)
{
    bool destroyed = false;
    qav_mnt_fwupdate_lib_receiver_aoa* receiver = new noting_receiver(destroyed);

    delete receiver;

    EXPECT_TRUE(destroyed);
}

TEST(receiver_aoa, notifications_through_the_interface_reach_the_implementation)
{
    bool destroyed = false;
    noting_receiver receiver(destroyed);
    qav_mnt_fwupdate_lib_receiver_aoa& as_interface = receiver;
    QAV_MNT_FWUPDATE_PACKATE_HEADER_ header = {};
    header.command = 19;

    EXPECT_EQ(0, as_interface.act_notify_recv_header(header));
    EXPECT_EQ(1, as_interface.act_notify_recv_body(3, "abc", 1));

    EXPECT_EQ(19u, receiver.last_command);
    EXPECT_EQ("abc", receiver.last_body);
    EXPECT_EQ(1, receiver.last_end);
}

}  // namespace

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "client/ClientRoot.h"
#include "module/RootEventSink.h"

namespace vk {
namespace {

struct Listener {
  LivenessMarker marker;
  LivenessMarker& Marker() { return marker; }
  std::vector<std::string> seen;
  void Login(LONG v) { seen.push_back("login " + std::to_string(v)); }
  void Presence(LONG a, LONG b) {
    seen.push_back("presence " + std::to_string(a) + " " + std::to_string(b));
  }
  void Logout(LONG v) { seen.push_back("logout " + std::to_string(v)); }
  void Account() { seen.push_back("account"); }
  void Password(LONG v) { seen.push_back("password " + std::to_string(v)); }
  void Count(LONG n, bool f, const OLECHAR* a, const OLECHAR*, const OLECHAR* c) {
    seen.push_back("count " + std::to_string(n) + (f ? " true " : " false ") +
                   std::to_string(a[0]) + " " + std::to_string(c[0]));
  }
  void Exit(IDispatch*, VARIANT_BOOL* cancel) {
    seen.push_back("exit");
    *cancel = VARIANT_TRUE;
  }
};

TEST(RootEventSink, ForwardsAllSevenEventsFromTheRootsConnectionPoint) {
  auto* root = new ClientRoot();
  auto* sink = new RootEventSink();
  Listener l;
  sink->login_result.Subscribe(&l, &Listener::Login);
  sink->my_presence_change.Subscribe(&l, &Listener::Presence);
  sink->logout_result.Subscribe(&l, &Listener::Logout);
  sink->account_change.Subscribe(&l, &Listener::Account);
  sink->modify_password.Subscribe(&l, &Listener::Password);
  sink->msg_count_change.Subscribe(&l, &Listener::Count);
  sink->exit_app.Subscribe(&l, &Listener::Exit);
  ASSERT_TRUE(sink->Connect(static_cast<IClientRoot*>(root)));
  EXPECT_TRUE(sink->Connect(static_cast<IClientRoot*>(root)));  // already connected
  EXPECT_EQ(root->Events().SinkCount(), 1u);

  root->FireLoginResult(1);
  root->FireMyPresenceChange(2, 0);
  root->FireLogoutResult(3);
  root->FireAccountChange();
  root->FireModifyPassword(4);
  root->FireMsgCountChange(5, true, u"a", u"b", u"c");
  VARIANT_BOOL cancel = VARIANT_FALSE;
  root->FireExitApp(nullptr, &cancel);
  EXPECT_EQ(l.seen, (std::vector<std::string>{"login 1", "presence 2 0", "logout 3", "account",
                                              "password 4", "count 5 true 97 99", "exit"}));
  EXPECT_EQ(cancel, VARIANT_TRUE);

  // Dispatch id 5 is not an event; wrong argument counts and types are refused.
  VARIANT text = {};
  text.vt = VT_BSTR;
  DISPPARAMS one{&text, nullptr, 1, 0};
  auto invoke = [&](DISPID id, DISPPARAMS* params) {
    return sink->Invoke(id, IID_NULL, 0, DISPATCH_METHOD, params, nullptr, nullptr, nullptr);
  };
  EXPECT_EQ(invoke(5, nullptr), DISP_E_MEMBERNOTFOUND);
  EXPECT_EQ(invoke(DISPID_OnLoginResult, &one), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(invoke(DISPID_OnMyPresenceChange, &one), DISP_E_BADPARAMCOUNT);

  EXPECT_TRUE(sink->Disconnect());
  EXPECT_EQ(root->Events().SinkCount(), 0u);
  EXPECT_EQ(sink->Release(), 0u);
  root->Release();
}

TEST(RootEventSink, DisconnectRules) {
  auto* root = new ClientRoot();
  auto* sink = new RootEventSink();
  EXPECT_TRUE(sink->Disconnect());  // nothing kept

  root->Events().RefuseAdvise(true);
  EXPECT_FALSE(sink->Connect(static_cast<IClientRoot*>(root)));
  EXPECT_FALSE(sink->IsConnected());
  root->Events().RefuseAdvise(false);

  ASSERT_TRUE(sink->Connect(static_cast<IClientRoot*>(root)));
  EXPECT_EQ(sink->RefCount(), 2);
  // The source drops the sink behind its back: one reference left, nothing to unadvise.
  root->Release();  // releases the connection point, and with it the sink's reference
  EXPECT_EQ(sink->RefCount(), 1);
  EXPECT_TRUE(sink->Disconnect());
  EXPECT_TRUE(sink->IsConnected()) << "the source stays recorded when nothing was unadvised";
  EXPECT_EQ(sink->Release(), 0u);
}

}  // namespace
}  // namespace vk

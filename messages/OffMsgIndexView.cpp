#include "messages/OffMsgIndexView.h"

#include "platform/Text.h"
#include "storage/OffMsgIndexScan.h"

namespace vk {

OffMsgIndexView OffMsgIndexView::Read(std::u16string_view path) {
  OffMsgIndexView view;
  auto root = [&](const OffMsgAttributes& a) { view.sum_ = a.Int("DataSum"); };
  auto record = [&](const OffMsgAttributes& a) {
    std::u16string id = a.Text("MsgID");
    LONG created = a.Int("CreateTime");
    OffMsgBody body{created,          a.Int("Addr"),       a.Int("Len"),
                    a.Text("Sender"), a.Text("Recievers"), a.Text("Type")};
    if (created >= view.latest_time_) {  // ties go to the later record
      view.latest_time_ = created;
      view.latest_addr_ = body.addr;
    }
    view.bodies_[WideToLower(id)].push_back(std::move(body));
    view.conversations_.Add({.msg_id = std::move(id),
                             .create_time = created,
                             .session_desc = a.Text("SessionDesc"),
                             .actor = a.Text("Recievers"),
                             .title = a.Text("Title"),
                             .type = a.Text("Type")});
  };
  if (!OffMsgIndexScan::Scan(path, root, record)) return OffMsgIndexView();
  view.readable_ = true;
  return view;
}

const std::vector<OffMsgBody>& OffMsgIndexView::BodiesOf(std::u16string_view id) const {
  static const std::vector<OffMsgBody> kNone;
  auto found = bodies_.find(WideToLower(id));
  return found != bodies_.end() ? found->second : kNone;
}

}  // namespace vk

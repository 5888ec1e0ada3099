// A list of data items, indexed from 1.
#pragma once

#include <vector>

#include "runtime/AutomationObject.h"
#include "vaultkit/client.h"

namespace vk {

class DataList : public AutomationObject<IDataList> {
 public:
  ~DataList() override;
  HRESULT Item(LONG index, IDataItem** item) override;
  HRESULT get_Count(LONG* count) override;
  HRESULT Append(IDataItem* item) override;
  HRESULT Remove(LONG index) override;

 private:
  std::vector<IDataItem*> items_;
};

}  // namespace vk

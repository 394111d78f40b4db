// Docket: the result of one blocking device-stack request, and the record
// through which the device stack's callback thread hands the answer to the
// waiting caller.
//
// A default docket (both texts empty, both flags false) is also what a
// blocking request returns when no answer came at all. Callers tell a
// missing answer from an error answer by IsAnswered(), and an error answer
// from a good one by IsReplyValid().
//
// Thread safety: none of its own. Inside DscAsyncRequestMessenger every
// docket is read and written only under the messenger's mutex.
#pragma once

#include <string>
#include <utility>

#include "Zel/Export.h"

namespace Zel {

class ZEL_EXPORT Docket {
 public:
  // Not answered, reply not valid, both texts empty.
  Docket();
  Docket(std::string reply, std::string deliveryError, bool isReplyValid, bool isAnswered);
  Docket(const Docket& other);
  Docket& operator=(const Docket& other);

  // The only mutator: stores one answer.
  void SetContent(std::string reply, std::string deliveryError, bool isReplyValid, bool isAnswered);

  // True when the device stack reported no error for the request.
  bool IsReplyValid() const;
  // True once any answer, good or failed, has been stored.
  bool IsAnswered() const;
  // The payload: response, configuration or value text; empty for answers
  // that carry none.
  const std::string& ReadReply() const;
  // The device stack's error text; empty when it reported none.
  const std::string& ReadDeliveryError() const;

 private:
  std::string m_reply;
  std::string m_deliveryError;
  bool m_replyValid = false;
  bool m_answered = false;
};

}  // namespace Zel

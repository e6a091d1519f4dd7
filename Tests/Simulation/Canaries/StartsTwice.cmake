# A start that a sleep has overtaken is made all the same.
set(OLD [[return !lastRequest_ || request.number != lastRequest_->number;]])
set(NEW [[return request.number == 0; // they are counted from one]])

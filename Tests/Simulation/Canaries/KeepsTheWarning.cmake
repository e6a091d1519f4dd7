# A warning about a recording stays when its call is over.
set(OLD [[captureWarning_.set(std::nullopt);]])
set(NEW [[]])

#pragma once

#include <functional>
#include <string>
#include <utility>

#include "foundation/FileURL.h"

namespace ornolith {

/// Asks the host for access to a location that a person has granted, and gives it back. On Linux there are no such
/// scopes: this base grants nothing and has nothing to end.
class SecurityScope {
 public:
  virtual ~SecurityScope() = default;
  /// True where access was started, which must then be ended.
  virtual bool startAccessingSecurityScopedResource(const FileURL& /*url*/) noexcept { return false; }
  virtual void stopAccessingSecurityScopedResource(const FileURL& /*url*/) noexcept {}
};

/// A location and whether access to it was started. Does nothing by itself when it goes.
struct ScopedURL {
  ScopedURL(const FileURL& location, SecurityScope& scope)
      : url(location), isAccessing(scope.startAccessingSecurityScopedResource(location)) {}

  FileURL url;
  bool isAccessing = false;
};

/// Presents a folder beside a model as belonging to it, for hosts that were granted the model alone.
class RelatedItemFilePresenter {
 public:
  /// On which the host calls the presenter back. No code of this program runs on it.
  struct OperationQueue {
    std::string name;
    int maximumConcurrentOperationCount = 0;
  };

  RelatedItemFilePresenter(FileURL primaryURL, FileURL relatedURL)
      : presentedItemURL_(std::move(relatedURL)), primaryPresentedItemURL_(std::move(primaryURL)) {}

  const FileURL& presentedItemURL() const noexcept { return presentedItemURL_; }
  const FileURL& primaryPresentedItemURL() const noexcept { return primaryPresentedItemURL_; }
  const OperationQueue& presentedItemOperationQueue() const noexcept { return queue_; }

 private:
  FileURL presentedItemURL_;
  FileURL primaryPresentedItemURL_;
  OperationQueue queue_{"ornolabs.ornolith3d.related-item-access", 1};
};

/// Coordinates reading with whoever else uses a file. On Linux nobody else does: this base calls the accessor at once.
class FileCoordinator {
 public:
  virtual ~FileCoordinator() = default;
  virtual void addFilePresenter(const RelatedItemFilePresenter& /*presenter*/) {}
  virtual void removeFilePresenter(const RelatedItemFilePresenter& /*presenter*/) noexcept {}
  /// Calls `accessor` synchronously, with the location to read, at most once. Throws where access cannot be had.
  virtual void coordinateReadingItem(const FileURL& url, const RelatedItemFilePresenter& /*presenter*/,
                                     const std::function<void(const FileURL& url)>& accessor) {
    accessor(url);
  }
};

}  // namespace ornolith

#pragma once

#include <QUrl>
#include <string>
#include <vector>

class QMimeData;

namespace tessary {

/// The URL of a path of the host, whatever its bytes are.
QUrl fileURL(const std::string &path);

/// The path that a file URL stands for; empty when it stands for no file of this host.
std::string filePath(const QUrl &url);

/// The paths that the file URLs of the data stand for, in their order. URLs of other kinds and files of other
/// hosts are left out.
std::vector<std::string> filePaths(const QMimeData &data);

} // namespace tessary

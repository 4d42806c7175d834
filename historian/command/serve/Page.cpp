#include "Page.h"

#include <map>
#include <string>

#include "Refused.h"

namespace historian::command {

void RegisterPage(httplib::Server& server) {
  server.Get("/[A-Za-z0-9_.-]*", [](const httplib::Request& request, httplib::Response& response) {
    static const auto files = [] {
      std::map<std::string, const PageFile*> by_path = {{"/", &PageFiles()[0]}};
      for (const PageFile& file : PageFiles()) by_path.emplace(file.path, &file);
      return by_path;
    }();
    const auto file = files.find(request.path);
    if (file == files.end()) {
      response.status = kNotFound;
      return;
    }
    response.set_content(file->second->content.data(), file->second->content.size(), file->second->type);
  });
}

}  // namespace historian::command

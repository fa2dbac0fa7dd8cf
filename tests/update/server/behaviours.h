#pragma once

#include "connection.h"
#include "request.h"

#include <filesystem>
#include <functional>
#include <map>
#include <string>

class Control;

/// Answers one request.
using Behaviour = std::function<void(const Request &, Connection &)>;

/// Behaviours by path; one that ends with "/" holds for everything below.
using Behaviours = std::map<std::string, Behaviour>;

void add_bodies(Behaviours &behaviours, const std::filesystem::path &folder, Control &control);
void add_documents(Behaviours &behaviours);
void add_faults(Behaviours &behaviours);
void add_redirects(Behaviours &behaviours);

/// Answers by the path, with 404 what nobody knows.
void answer(const Behaviours &behaviours, const Request &request, Connection &client);

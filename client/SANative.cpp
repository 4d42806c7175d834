#include "SQLAPI.h"

saAPI::~saAPI() = default;
saConnectionHandles::~saConnectionHandles() = default;

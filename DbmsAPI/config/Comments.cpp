#include "../TirelScada.h"

bool TirelScada::CreateCommentTable() { return Pending(L"CreateCommentTable"); }

bool TirelScada::DeleteAllComments() { return Pending(L"DeleteAllComments"); }

bool TirelScada::InsertComments(const std::vector<CommentRecord>&) { return Pending(L"InsertComments"); }

#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Sql.h"

namespace {

constexpr wchar_t kCreateComment[] =
    L"create table if not exists comment ("
    L"group_id int not null,"
    L"row int not null,"
    L"col int not null,"
    L"comment text not null,"
    L"font text,"
    L"primary key (group_id,row,col))";

constexpr wchar_t kDeleteAllComments[] = L"delete from comment";

// :1 group, :2 row, :3 column, :4 comment, :5 font or NULL.
constexpr wchar_t kInsertComment[] = L"insert into comment values(:1,:2,:3,:4,:5)";

}  // namespace

bool TirelScada::CreateCommentTable() { return Run(kCreateComment); }

bool TirelScada::DeleteAllComments() { return Run(kDeleteAllComments); }

bool TirelScada::InsertComments(const std::vector<CommentRecord>& comments) {
  return Run([&](SACommand& command) {
    command.setCommandText(kInsertComment);
    for (const CommentRecord& comment : comments) {
      command << comment.group_id << comment.row << comment.col << comment.comment;
      BindOrNull(command.Param(5), comment.font);
      command.Execute();
    }
  });
}

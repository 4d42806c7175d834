-- Accounts of a plant, each with the least rights for its work. Run it as a superuser in the plant's database, before
-- the first create operation and again after it:
--
--   psql --dbname plant --file grants.sql
--   psql --dbname plant --command '\password plant_owner'     -- likewise the other two: they have no password yet
--
--   plant_owner    creates, migrates and drops tables, compresses chunks, purges page tables, changes grid tables
--   plant_writer   stores records, replaces the lists of users, stations, comments and recipes
--   plant_reader   reads everything but accounts and signatures
--
-- More accounts: create role NAME login in role plant_writer. What they should create or compress must belong to
-- plant_owner, so let them connect as plant_owner. Tables of another owner: reassign owned by NAME to plant_owner.

do $$
declare
  name text;
begin
  -- TimescaleDB runs the jobs of a table as its owner, who has to be allowed to log in.
  foreach name in array array['plant_owner', 'plant_writer', 'plant_reader'] loop
    if not exists (select from pg_roles where rolname = name) then
      execute format('create role %I login', name);
    end if;
  end loop;
  -- InsertLogData takes each batch through a temporary table.
  execute format('grant temporary on database %I to plant_owner, plant_writer', current_database());
end $$;

revoke create on schema public from public;  -- up to PostgreSQL 14 every account may create tables
grant usage, create on schema public to plant_owner;
grant usage on schema public to plant_writer, plant_reader;

-- Tables that are there, and those that plant_owner will create.
grant select on all tables in schema public to plant_writer, plant_reader;
grant insert on all tables in schema public to plant_writer;
alter default privileges for role plant_owner in schema public grant select on tables to plant_reader;
alter default privileges for role plant_owner in schema public grant select, insert on tables to plant_writer;

-- Of these tables only those that are there.
do $$
declare
  change text;
begin
  for change in
    select format(statement, name)
    from (values
      -- Watermarks, ends of page intervals, status of stations, recipes; what Recorder and Backfill keep of their batches.
      ('grant update on public.%I to plant_writer', array['report_data_time', 'pr_timelist', 'network_table', 'recipe',
                                                          'historian_ledger', 'historian_backfill']),
      -- Lists that are deleted before they are stored again, and what `historian import` kept of a file.
      ('grant delete on public.%I to plant_writer', array['event_report_data', 'userinfo_table', 'network_table',
                                                          'comment', 'recipe_group', 'recipe', 'historian_backfill']),
      -- Accounts with their passwords, and signatures.
      ('revoke all on public.%I from plant_reader', array['userinfo_table', 'locked_user_list', 'signinfo_table']))
      as changes (statement, names), unnest(names) as name
    where to_regclass('public.' || name) is not null
  loop
    execute change;
  end loop;
end $$;

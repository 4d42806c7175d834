# shellcheck shell=bash
# The test server, for psql, and whether it offers TimescaleDB. For tests to source.

export PGHOST=$DBMSAPI_TEST_HOST PGPORT=$DBMSAPI_TEST_PORT PGUSER=$DBMSAPI_TEST_USER PGPASSWORD=$DBMSAPI_TEST_PASSWORD

# end_unless_offered WHAT: ends the test if the server does not offer it, with a line that says what is not run.
end_unless_offered() {
  [ -z "$(psql -XAtqd postgres -c "select 1 from pg_available_extensions where name = 'timescaledb'")" ] || return 0
  echo "the server does not offer TimescaleDB: $1"
  exit 0
}

# The demo's web server: nginx on loopback, on a free port, ended with the demo.

server_pid=
server_port=

# start_server STAGE: serves STAGE/www and sets server_port.
start_server()
{
    local stage=$1 attempt
    mkdir -p "$stage/www" "$stage/nginx"
    for attempt in 1 2 3 4 5 6 7 8 9 10; do
        server_port=$((20000 + RANDOM % 20000))
        write_server_configuration "$stage" "$server_port"
        nginx -p "$stage/nginx" -c "$stage/nginx/nginx.conf" -e "$stage/nginx/error.log" &
        server_pid=$!
        if wait_for_server "$server_port"; then
            return 0
        fi
        stop_server
    done
    echo "The web server did not start; see $stage/nginx/error.log" >&2
    return 1
}

stop_server()
{
    [ -n "$server_pid" ] || return 0
    kill "$server_pid" 2>/dev/null || true
    wait "$server_pid" 2>/dev/null || true
    server_pid=
}

# wait_for_server PORT: up to five seconds, until our own server answers there.
wait_for_server()
{
    local attempt
    for attempt in $(seq 50); do
        kill -0 "$server_pid" 2>/dev/null || return 1
        if (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null; then
            # Another program may hold the port: ours has ended then, if not yet at the first answer.
            sleep 0.2
            kill -0 "$server_pid" 2>/dev/null
            return
        fi
        sleep 0.1
    done
    return 1
}

write_server_configuration()
{
    local stage=$1 port=$2 folder
    for folder in body proxy fastcgi uwsgi scgi; do
        mkdir -p "$stage/nginx/$folder"
    done
    cat > "$stage/nginx/nginx.conf" <<CONF
daemon off;
master_process off;
pid $stage/nginx/nginx.pid;
events { worker_connections 64; }
http {
    access_log $stage/nginx/access.log;
    client_body_temp_path $stage/nginx/body;
    proxy_temp_path $stage/nginx/proxy;
    fastcgi_temp_path $stage/nginx/fastcgi;
    uwsgi_temp_path $stage/nginx/uwsgi;
    scgi_temp_path $stage/nginx/scgi;
    types { text/xml xml; application/zip zip; }
    server {
        listen 127.0.0.1:$port;
        root $stage/www;
    }
}
CONF
}

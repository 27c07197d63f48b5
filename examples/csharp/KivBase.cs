// The C interface of kiv_base for C#, made by cmake/generate_csharp.py from the headers: change those
// and run it again. What the functions do stands there.
//
// Pointers are IntPtr: handles, buffers, and texts, which are UTF-8 with a zero behind them and,
// where a function hands out a new one, freed with _zu_free. What takes a callback takes a delegate:
// keep a reference to it for as long as the library may call, and let no exception out of it.
// Functions that follow printf take the format alone; double each "%" in it.
using System;
using System.Runtime.InteropServices;

namespace KivBase
{
    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate int zu_sort_compare_fn(IntPtr element, IntPtr key);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate void zu_visit_fn(IntPtr data, IntPtr user);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate void zu_release_fn(IntPtr data, IntPtr user);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate int zu_test_fn(IntPtr data, IntPtr user);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate int zu_compare_fn(IntPtr a, IntPtr b);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate int zu_key_compare_fn(IntPtr node_key, IntPtr probe, IntPtr data);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate int zu_entry_fn(IntPtr key, IntPtr value, IntPtr user);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate void zu_event_fn(IntPtr user);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate void zu_box_socket_fn(IntPtr handle, IntPtr argument, int socket);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate void zu_box_read_fn(IntPtr handle, IntPtr argument, int socket, IntPtr data, int length);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate void zu_box_accept_fn(IntPtr handle, IntPtr argument, int listener, int socket, IntPtr peer_ip, ushort peer_port);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate void zu_box_datagram_fn(IntPtr handle, IntPtr argument, int socket, IntPtr data, int length, IntPtr from);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate void zu_box_timer_fn(IntPtr handle, IntPtr argument, int timer, int times_fired);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate void zu_box_visit_fn(IntPtr handle, int kind, int socket, IntPtr argument);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate void zu_box_post_fn(IntPtr handle, IntPtr argument);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate int kiv_uvc_fn(IntPtr client, IntPtr argument);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate int kiv_uvc_data_fn(IntPtr client, IntPtr argument, IntPtr body, int length);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate int kiv_uvc_foreign_fn(IntPtr client, IntPtr argument, IntPtr sender_ip, ushort sender_port, IntPtr datagram, int length);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate int kiv_uvs_connect_fn(IntPtr server, IntPtr argument, int client, IntPtr client_ip, ushort client_port);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate int kiv_uvs_foreign_fn(IntPtr server, IntPtr argument, IntPtr sender_ip, ushort sender_port, IntPtr datagram, int length);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate int kiv_uvs_data_fn(IntPtr server, IntPtr argument, IntPtr body, int length);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate int kiv_uvs_close_fn(IntPtr server, IntPtr argument);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate void kiv_http_request_socket_fn(IntPtr user, IntPtr box, int socket);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate void kiv_http_request_response_fn(IntPtr user, IntPtr box, int socket, IntPtr url, IntPtr response, IntPtr body, int status);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate void kiv_http_server_accept_fn(IntPtr server, IntPtr user, int socket, IntPtr peer_ip, ushort peer_port);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate void kiv_http_server_request_fn(IntPtr server, IntPtr user, int socket, IntPtr request, IntPtr body);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate void kiv_http_server_close_fn(IntPtr server, IntPtr user, int socket);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate void kiv_proxy_http_socket_fn(IntPtr user, int socket);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate void kiv_proxy_http_data_fn(IntPtr user, int socket, IntPtr data, int length);

    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    public delegate int zu_dir1_callback(IntPtr argument, IntPtr name, int kind, long size);

    [StructLayout(LayoutKind.Sequential)]
    public struct zu_timeval
    {
        public int seconds;
        public int microseconds;
    }

    [StructLayout(LayoutKind.Sequential)]
    public struct zu_list
    {
        public IntPtr prev;
        public IntPtr next;
        public IntPtr data;
    }

    [StructLayout(LayoutKind.Sequential, Pack = 1)]
    public struct zu_ihash_node
    {
        public IntPtr prev;
        public IntPtr next;
        public int key;
        public IntPtr value;
    }

    [StructLayout(LayoutKind.Sequential, Pack = 1)]
    public struct zu_i64hash_node
    {
        public IntPtr prev;
        public IntPtr next;
        public long key;
        public IntPtr value;
        public int padding;
    }

    [StructLayout(LayoutKind.Sequential, Pack = 1)]
    public struct zu_shash_node
    {
        public IntPtr prev;
        public IntPtr next;
        public IntPtr key;
        public int key_length;
        public IntPtr value;
    }

    [StructLayout(LayoutKind.Sequential, Pack = 1)]
    public struct zu_ihash
    {
        public IntPtr buckets;
        public int owns_buckets;
        public int bucket_count;
        public int node_count;
        public IntPtr pool;
        public int iter_bucket;
        public int iter_pos;
    }

    [StructLayout(LayoutKind.Sequential, Pack = 1)]
    public struct zu_i64hash
    {
        public IntPtr buckets;
        public int owns_buckets;
        public long bucket_count;
        public long node_count;
        public IntPtr pool;
        public int padding;
        public long iter_bucket;
        public long iter_pos;
    }

    [StructLayout(LayoutKind.Sequential, Pack = 1)]
    public struct zu_xtree_node
    {
        public IntPtr key;
        public IntPtr value;
        public IntPtr left;
        public IntPtr right;
        public sbyte balance;
        public byte left_child;
        public byte right_child;
        public byte padding;
    }

    [StructLayout(LayoutKind.Sequential, Pack = 1)]
    public struct zu_xtree
    {
        public IntPtr pool;
        public IntPtr root;
        public int nnodes;
        public zu_key_compare_fn key_compare;
        public IntPtr key_compare_data;
        public zu_release_fn key_destroy;
        public IntPtr key_destroy_data;
        public zu_release_fn value_destroy;
        public IntPtr value_destroy_data;
    }

    [StructLayout(LayoutKind.Sequential)]
    public struct kiv_queue
    {
        public IntPtr head;
        public IntPtr tail;
        public int count;
    }

    [StructLayout(LayoutKind.Sequential)]
    public struct kiv_stack
    {
        public IntPtr top;
        public int count;
    }

    [StructLayout(LayoutKind.Sequential)]
    public struct zu_jitter_block
    {
        public IntPtr data;
        public int length;
        public int capacity;
        public int write_pos;
        public int read_pos;
    }

    [StructLayout(LayoutKind.Sequential)]
    public struct zu_jitter
    {
        public IntPtr blocks;
        public IntPtr last;
        public int block_size;
        public int block_count;
        public int max_blocks;
        public int length;
        public IntPtr user_data;
    }

    [StructLayout(LayoutKind.Sequential)]
    public struct zu_sock_addr
    {
        public ushort family;
        public ushort port;
        public uint address;
        [MarshalAs(UnmanagedType.ByValArray, SizeConst = 8)] public byte[] zero;
    }

    [StructLayout(LayoutKind.Sequential)]
    public struct zu_sock_peer
    {
        public zu_sock_addr addr;
        public int addr_len;
        [MarshalAs(UnmanagedType.ByValArray, SizeConst = 16)] public byte[] ip;
        public uint address;
        public ushort port;
    }

    [StructLayout(LayoutKind.Sequential)]
    public struct kiv_uri
    {
        public IntPtr scheme;
        public IntPtr opaque;
        public IntPtr authority;
        public IntPtr host;
        public IntPtr user;
        public int port;
        [MarshalAs(UnmanagedType.ByValArray, SizeConst = 12)] public byte[] port_string;
        public IntPtr path;
        public IntPtr path_raw;
        public IntPtr query;
        public IntPtr fragment;
        public int flags;
        public IntPtr query_raw;
    }

    [StructLayout(LayoutKind.Sequential)]
    public struct zu_config_entry
    {
        public IntPtr key;
        public IntPtr value;
    }

    [StructLayout(LayoutKind.Sequential)]
    public struct zu_pattern
    {
        public int match_type;
        public uint length;
        public uint min_length;
        public uint max_length;
        public IntPtr text;
    }

    [StructLayout(LayoutKind.Sequential)]
    public struct zu_service_callbacks
    {
        public IntPtr start;
        public IntPtr work;
        public IntPtr stop;
        public IntPtr pause;
        public IntPtr resume;
    }

    public static class Native
    {
        public const string Library = "kiv_base";

        public const int ZU_TRAVERSE_IN_ORDER = 0;
        public const int ZU_TRAVERSE_PRE_ORDER = 1;
        public const int ZU_TRAVERSE_POST_ORDER = 2;
        public const int ZU_TRAVERSE_LEVEL_ORDER = 3;
        public const int KIV_CIPHER_NONE = 1;
        public const int KIV_CIPHER_ROTATION = 2;
        public const int KIV_CIPHER_XTEA = 3;
        public const int KIV_URI_UNWISE = 1;
        public const int KIV_URI_RAW = 2;
        public const int KIV_HTTP_NEW = 0;
        public const int KIV_HTTP_HEAD = 11;
        public const int KIV_HTTP_BODY = 12;
        public const int KIV_HTTP_COMPLETE = 13;
        public const int KIV_HTTP_CHUNKED = 14;
        public const int KIV_HTTP_UNTIL_CLOSE = 15;
        public const int KIV_HTTP_BROKEN = 21;
        public const int ZU_FILE2_READ = 1;
        public const int ZU_FILE2_WRITE = 2;
        public const int ZU_FILE2_APPEND = 4;
        public const int ZU_FILE2_CREATE = 8;
        public const int ZU_FILE2_TRUNCATE = 16;
        public const int ZU_FILE2_EXCLUSIVE = 32;
        public const int ZU_FILE2_BEGIN = 0;
        public const int ZU_FILE2_CURRENT = 1;
        public const int ZU_FILE2_END = 2;
        public const int ZU_DIR1_FILE = 1;
        public const int ZU_DIR1_DIRECTORY = 2;
        public const int ZU_DIR1_LINK = 3;
        public const int ZU_DIR1_OTHER = 4;
        public const int ZU_SERVICE_ABSENT = 0;
        public const int ZU_SERVICE_STOPPED = 1;
        public const int ZU_SERVICE_STARTING = 2;
        public const int ZU_SERVICE_RUNNING = 3;
        public const int ZU_SERVICE_PAUSED = 4;
        public const int ZU_SERVICE_STOPPING = 5;
        public const int ZU_SERVICE_NOTICE = 1;
        public const int ZU_SERVICE_WARN = 2;
        public const int ZU_SERVICE_ERROR = 3;

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_Setup();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_Shutdown();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_Version();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_sem_init(IntPtr record);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_sem_init_ex(IntPtr record);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern UIntPtr zu_sem_malloc();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_sem_free(UIntPtr handle);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sem_lock(UIntPtr handle);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sem_unlock(UIntPtr handle);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sem_destroy(IntPtr record);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_sem_Setup();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kiv_sem_Shutdown();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int __kiv_sem_insert(IntPtr @object);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int __kiv_sem_check(IntPtr @object);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int __kiv_sem_lock(IntPtr @object);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int __kiv_sem_unlock();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void __kiv_sem_remove(IntPtr @object);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr _zu_malloc(int count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr _zu_realloc(IntPtr block, uint count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void _zu_free(IntPtr block);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void _zu_minfo();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_mem_init(IntPtr region, uint size);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_mem_malloc(IntPtr pool, uint count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_mem_free(IntPtr pool, IntPtr payload);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_mem_is_valid_ext_(IntPtr pool, IntPtr payload, IntPtr size);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_mem_is_valid(IntPtr pool, IntPtr payload);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_mem_info(IntPtr pool, IntPtr largest_used, IntPtr largest_free, IntPtr used_blocks, IntPtr free_blocks);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_mem_destroy(IntPtr pool);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_mem_print(IntPtr pool);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_log_init(IntPtr log, IntPtr path);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_log_malloc(IntPtr path);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_log_destroy(IntPtr log);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_log_free(IntPtr log);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_log_printf(IntPtr log, IntPtr format);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_log_notice(IntPtr log, IntPtr format);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_log_warn(IntPtr log, IntPtr format);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_log_error(IntPtr log, IntPtr format);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_console_Setup(IntPtr name);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_console_Free();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_console_Shutdown();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_console_printf(IntPtr format);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_strncpy(IntPtr destination, IntPtr source, int n);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern uint zu_strlen(IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_strcmp(IntPtr a, IntPtr b);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_stricmp(IntPtr a, IntPtr b);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_strncmp(IntPtr a, IntPtr b, int n);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_strnicmp(IntPtr a, IntPtr b, int n);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_strchr(IntPtr text, int character);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_strichr(IntPtr text, int character);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_strstr(IntPtr haystack, IntPtr needle);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_stristr(IntPtr haystack, IntPtr needle);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_FindKey(IntPtr key, IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_strdup(IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_strndup(IntPtr text, int n);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_strdup2(IntPtr a, IntPtr b);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_strdup3(IntPtr a, IntPtr b, IntPtr c);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_memdup(IntPtr bytes, int length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_strreverse(IntPtr text, int n);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_GetFilenameFromPath(IntPtr path);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_strreplace(IntPtr text, int position, int old_length, IntPtr replacement, int replacement_length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_strreplace1(IntPtr text, int position, int old_length, IntPtr replacement);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_memreplace(IntPtr buffer, int length, int start, int end, IntPtr replacement, int replacement_length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_SortFind(IntPtr @base, int size, int count, IntPtr key, zu_sort_compare_fn compare, IntPtr index);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_IP_to_32bits(IntPtr value, IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern long zu_str_to_longlong(IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_longlong_to_str(long value, IntPtr buffer);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_isGB2312(IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_AppendFile(IntPtr path, IntPtr bytes, int length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_DeleteFile(IntPtr path);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_GetFileContent(IntPtr path, IntPtr buffer, int maximum);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_GetTextFileContent(IntPtr path, IntPtr buffer, int size);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern long zu_timenow();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_gettimeofday(IntPtr now);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_sleep(uint milliseconds);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_new();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_append(IntPtr list, IntPtr data);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_insert_last(IntPtr list, IntPtr data);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_prepend(IntPtr node, IntPtr data);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_insert_first(IntPtr node, IntPtr data);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_insert(IntPtr list, IntPtr data, int position);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_insert_sorted(IntPtr list, IntPtr data, zu_compare_fn compare);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_insert_link_sorted(IntPtr list, IntPtr node, zu_compare_fn compare);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_first(IntPtr node);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_last(IntPtr node);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_nth(IntPtr list, int n);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_nth_prev(IntPtr node, int n);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_nth_data(IntPtr list, int n);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern uint zu_list_length(IntPtr list);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_find(IntPtr list, IntPtr data);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_find_custom(IntPtr list, zu_test_fn test, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_list_position(IntPtr list, IntPtr node);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_list_index(IntPtr list, IntPtr data);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_copy(IntPtr list);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_reverse(IntPtr list);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_concat(IntPtr list1, IntPtr list2);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_list_foreach(IntPtr list, zu_visit_fn visit, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_list_foreach_if(IntPtr list, zu_test_fn test, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_remove(IntPtr list, IntPtr data, zu_release_fn release, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_nth_remove(IntPtr list, int n, zu_release_fn release, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_remove_all(IntPtr list, IntPtr data, zu_release_fn release, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_remove_link_only(IntPtr list, IntPtr node);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_delete_link_only(IntPtr list, IntPtr node);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_list_free_all(IntPtr node, zu_release_fn release, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_list_destroy_all(IntPtr node, zu_release_fn release, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_sort(IntPtr list, zu_compare_fn compare);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_sort2(IntPtr list, zu_compare_fn compare);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_list_sort_merge(IntPtr list1, IntPtr list2, zu_compare_fn compare);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_list_print(IntPtr list, zu_visit_fn visit);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_ihash_mallocx(IntPtr buckets, int count, IntPtr pool);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_ihash_malloc(int count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_ihash_freex(IntPtr table, zu_release_fn release, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_ihash_free(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_ihash_insert(IntPtr table, int key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_ihash_update(IntPtr table, int key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_ihash_find(IntPtr table, int key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_ihash_delete(IntPtr table, int key);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_ihash_findx(IntPtr table, int key, zu_test_fn test, IntPtr user, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_ihash_deletex(IntPtr table, int key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_ihash_foreach(IntPtr table, zu_visit_fn visit, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_ihash_foreachx(IntPtr table, int key, zu_visit_fn visit, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_ihash_GetFirst(IntPtr table, IntPtr key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_ihash_GetNext(IntPtr table, IntPtr key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_ihash_rewind(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_ihash_nnodes(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_i64hash_malloc(long count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_i64hash_mallocx(IntPtr buckets, long count, IntPtr pool);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_i64hash_insert(IntPtr table, long key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_i64hash_update(IntPtr table, long key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_i64hash_find(IntPtr table, long key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_i64hash_delete(IntPtr table, long key);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_i64hash_findx(IntPtr table, long key, zu_test_fn test, IntPtr user, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_i64hash_deletex(IntPtr table, long key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_i64hash_foreach(IntPtr table, zu_visit_fn visit, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_i64hash_foreachx(IntPtr table, long key, zu_visit_fn visit, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_i64hash_free(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_i64hash_freex(IntPtr table, zu_release_fn release, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_i64hash_GetFirst(IntPtr table, IntPtr key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_i64hash_GetNext(IntPtr table, IntPtr key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_i64hash_rewind(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern long zu_i64hash_nnodes(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_shash_mallocx(IntPtr buckets, int count, IntPtr pool);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_shash_malloc(int count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_shash_insertx(IntPtr table, IntPtr key, int length, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_shash_insert(IntPtr table, IntPtr key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_shash_updatex(IntPtr table, IntPtr key, int length, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_shash_update(IntPtr table, IntPtr key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_shash_findx(IntPtr table, IntPtr key, int length, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_shash_find(IntPtr table, IntPtr key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_shash_deletex(IntPtr table, IntPtr key, int length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_shash_delete(IntPtr table, IntPtr key);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_shash_GetFirstx(IntPtr table, IntPtr key, IntPtr length, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_shash_GetNextx(IntPtr table, IntPtr key, IntPtr length, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_shash_GetFirst(IntPtr table, IntPtr key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_shash_GetNext(IntPtr table, IntPtr key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_shash_findxx(IntPtr table, IntPtr key, int length, zu_test_fn test, IntPtr user, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_shash_deletexx(IntPtr table, IntPtr key, int length, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_shash_foreach_line(IntPtr table, IntPtr key, int length, zu_visit_fn visit, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_shash_foreach(IntPtr table, zu_visit_fn visit, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_shash_free(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_shash_freex(IntPtr table, zu_release_fn release, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_shash_rewind(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_shash_nnodes(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_xtree_new_full(IntPtr pool, zu_key_compare_fn key_compare, IntPtr key_compare_data, zu_release_fn key_destroy, IntPtr key_destroy_data, zu_release_fn value_destroy, IntPtr value_destroy_data);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_xtree_new(zu_key_compare_fn key_compare);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_xtree_new_with_data(zu_key_compare_fn key_compare, IntPtr key_compare_data);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_xtree_destroy(IntPtr tree);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_xtree_insert(IntPtr tree, IntPtr key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_xtree_replace(IntPtr tree, IntPtr key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_xtree_delete(IntPtr tree, IntPtr key);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_xtree_steal(IntPtr tree, IntPtr key);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_xtree_find(IntPtr tree, IntPtr key);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_xtree_findx(IntPtr tree, IntPtr key, IntPtr stored_key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_xtree_search(IntPtr tree, zu_key_compare_fn search, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_xtree_foreach(IntPtr tree, zu_entry_fn visit, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_xtree_traverse(IntPtr tree, zu_entry_fn visit, int order, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_xtree_height(IntPtr tree);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_xtree_nnodes(IntPtr tree);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_itree_mallocx(IntPtr pool);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_itree_malloc();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_itree_insert(IntPtr tree, int key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_itree_update(IntPtr tree, int key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_itree_find(IntPtr tree, int key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_itree_deletex(IntPtr tree, int key, zu_release_fn release, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_itree_delete(IntPtr tree, int key);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_itree_foreach(IntPtr tree, zu_visit_fn visit, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_itree_foreach_if(IntPtr tree, zu_test_fn test, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_itree_traverse(IntPtr tree, zu_entry_fn visit, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_itree_freex(IntPtr tree, zu_release_fn release, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_itree_free(IntPtr tree);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_itree_height(IntPtr tree);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_itree_nnodes(IntPtr tree);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_stree_mallocx(IntPtr pool);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_stree_malloc();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_stree_insertx(IntPtr tree, IntPtr key, int length, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_stree_insert(IntPtr tree, IntPtr key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_stree_update(IntPtr tree, IntPtr key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_stree_find(IntPtr tree, IntPtr key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_stree_deletex(IntPtr tree, IntPtr key, zu_release_fn release, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_stree_delete(IntPtr tree, IntPtr key);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_stree_foreach(IntPtr tree, zu_visit_fn visit, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_stree_foreach_if(IntPtr tree, zu_test_fn test, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_stree_traverse(IntPtr tree, zu_entry_fn visit, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_stree_freex(IntPtr tree, zu_release_fn release, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_stree_free(IntPtr tree);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_stree_height(IntPtr tree);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_stree_nnodes(IntPtr tree);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr _zu_jitter_block_new(int capacity);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void _zu_jitter_block_free(IntPtr block);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void _zu_jitter_block_reset(IntPtr block);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int _zu_jitter_block_SetData(IntPtr block, IntPtr data, int count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int _zu_jitter_block_GetData(IntPtr block, IntPtr destination, int count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int _zu_jitter_block_PeekData(IntPtr block, IntPtr destination, int count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int _zu_jitter_block_PeekData_ext(IntPtr block, IntPtr destination, int start, int end);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int _zu_jitter_block_CalPacketLen(IntPtr block, IntPtr packet_length, IntPtr terminator_length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int _zu_jitter_block_GetLen(IntPtr block);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int _zu_jitter_block_GetAvailableLen(IntPtr block);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_jitter_init(IntPtr jitter, int block_size, int max_blocks, IntPtr user_data);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_jitter_mallocx(int block_size, int max_blocks, IntPtr user_data);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_jitter_malloc();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_jitter_empty(IntPtr jitter);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_jitter_destroy(IntPtr jitter);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_jitter_free(IntPtr jitter);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_jitter_SetData(IntPtr jitter, IntPtr data, int count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_jitter_GetData(IntPtr jitter, IntPtr destination, int count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_jitter_PeekData(IntPtr jitter, IntPtr destination, int count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_jitter_PeekDatax(IntPtr jitter, IntPtr destination, int offset, int count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_jitter_GetLen(IntPtr jitter);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_jitter_GetAvailableLen(IntPtr jitter);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_jitter_GetUserData(IntPtr jitter);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_jitter_SetUserData(IntPtr jitter, IntPtr user_data);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_queue_make();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_queue_push(IntPtr queue, IntPtr data);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_queue_pop(IntPtr queue);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kivx_queue_peek(IntPtr queue, int index);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kivx_queue_foreach(IntPtr queue, zu_visit_fn visit, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kiv_queue_free(IntPtr queue);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kivx_queue_free(IntPtr queue, zu_release_fn release, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_queue_nnodes(IntPtr queue);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_stack_make();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_stack_push(IntPtr stack, IntPtr data);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_stack_pop(IntPtr stack);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kivx_stack_peek(IntPtr stack, int index);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kivx_stack_foreach(IntPtr stack, zu_visit_fn visit, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kiv_stack_free(IntPtr stack);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kivx_stack_free(IntPtr stack, zu_release_fn release, IntPtr user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_stack_nnodes(IntPtr stack);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_startup();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_sock_cleanup();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_set_block(int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_set_nonblock(int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_set_recv_buff(int socket, int size);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_set_send_buff(int socket, int size);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_keep_alive(int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_keep_nonalive(int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_set_linger(int socket, ushort seconds);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_set_nonlinger(int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_set_delay(int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_set_nondelay(int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_set_reuse(int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_set_nonreuse(int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_fd_status(int socket, IntPtr status);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_is_fd_valid(int socket, IntPtr error);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_is_fd_writable(int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_IsRealIp(IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_GetLocalHostname(IntPtr buffer, int length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_GetHostIP(IntPtr host, IntPtr slots, int max_slots, IntPtr count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_GetHostFirstIP(IntPtr host, IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_GetLocalHostIP(IntPtr slots, int max_slots, IntPtr count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_HostnameTo32bits(IntPtr address, IntPtr host);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_GetPeer(int socket, IntPtr text, int size, IntPtr port);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_write_ByPeerIp(int socket, IntPtr data, int length, IntPtr ip, ushort port);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_write_ByAddr(int socket, IntPtr data, int length, IntPtr peer);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_read_ByPeerIp(int socket, IntPtr buffer, int length, IntPtr ip, IntPtr port);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_sock_read_ByAddr(int socket, IntPtr buffer, int length, IntPtr peer);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_box_mallocx(UIntPtr @lock);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_box_malloc();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_box_destroy(IntPtr box);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_box_free(IntPtr box);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_box_StartLoop(IntPtr box);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_box_BreakLoop(IntPtr box);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_box_SetUserCallbackHandle(IntPtr box, IntPtr handle);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_SetFairRounds(IntPtr box, int on);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_SetCapacity(IntPtr box, int count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_sock_SetBacklog(IntPtr box, int listener, int backlog);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_EnablePost(IntPtr box);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_Post(IntPtr box, zu_box_post_fn post, IntPtr argument, zu_event_fn release);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_sock_AddLocalTcpClient(IntPtr box, IntPtr host, ushort port, zu_box_socket_fn on_connect, IntPtr connect_arg, zu_box_socket_fn on_failure, IntPtr failure_arg, zu_box_read_fn on_read, IntPtr read_arg, zu_box_socket_fn on_close, IntPtr close_arg);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_sock_AddRemoteTcpClient(IntPtr box, int socket, zu_box_read_fn on_read, IntPtr read_arg, zu_box_socket_fn on_close, IntPtr close_arg);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_sock_AddLocalUdpClient(IntPtr box, IntPtr host, ushort port, zu_box_datagram_fn on_datagram, IntPtr datagram_arg);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_sock_AddLocalTcpServer(IntPtr box, IntPtr local_ip, ushort port, zu_box_accept_fn on_accept, IntPtr accept_arg);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_sock_AddLocalUdpServer(IntPtr box, IntPtr local_ip, ushort port, zu_box_datagram_fn on_datagram, IntPtr datagram_arg);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_box_sock_Delete(IntPtr box, int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_box_sock_DeleteThis(IntPtr box);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_sock_GetThisId(IntPtr box);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_sock_GetNumSock(IntPtr box);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_sock_IsExist(IntPtr box, int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_box_sock_foreach(IntPtr box, zu_box_visit_fn visit, IntPtr argument);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_sock_SetMaxReadLen(IntPtr box, int socket, int length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_sock_TcpWrite(IntPtr box, int socket, IntPtr data, int length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_sock_UdpWrite(IntPtr box, int socket, IntPtr data, int length, IntPtr to);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_sock_UdpWriteByIp(IntPtr box, int socket, IntPtr data, int length, IntPtr ip, ushort port);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_sock_ExportSocketId(IntPtr box, int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_sock_ExportSocketId_ForRead(IntPtr box, int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_sock_ExportSocketId_ForWrite(IntPtr box, int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_sock_ExportSocketId_ForExcept(IntPtr box, int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_sock_ImportSocketId_ForRead(IntPtr box, int socket, zu_event_fn callback, IntPtr argument);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_sock_ImportSocketId_ForWrite(IntPtr box, int socket, zu_event_fn callback, IntPtr argument);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_sock_ImportSocketId_ForExcept(IntPtr box, int socket, zu_event_fn callback, IntPtr argument);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_timer_AddOnceTimer(IntPtr box, uint interval_ms, zu_box_timer_fn callback, IntPtr argument);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_timer_AddLoopTimer(IntPtr box, uint interval_ms, zu_box_timer_fn callback, IntPtr argument);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_timer_AddLimitTimer(IntPtr box, int limit, uint interval_ms, zu_box_timer_fn callback, IntPtr argument);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_timer_Refresh(IntPtr box, int timer, uint interval_ms, zu_box_timer_fn callback, IntPtr argument);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_timer_RefreshTimeout(IntPtr box, int timer, uint interval_ms);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_timer_RefreshCallback(IntPtr box, int timer, zu_box_timer_fn callback, IntPtr argument);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_box_timer_Delete(IntPtr box, int timer);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_box_timer_DeleteThis(IntPtr box);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_timer_GetThisId(IntPtr box);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_timer_GetNumTimer(IntPtr box);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_box_timer_IsExist(IntPtr box, int timer);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_box_NewTcpClient(IntPtr box, IntPtr host, ushort port, zu_box_socket_fn on_connect, IntPtr connect_arg, zu_box_socket_fn on_failure, IntPtr failure_arg, zu_box_read_fn on_read, IntPtr read_arg, zu_box_socket_fn on_close, IntPtr close_arg);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_box_NewUdpClient(IntPtr box, IntPtr host, ushort port, zu_box_datagram_fn on_datagram, IntPtr datagram_arg);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_box_NewTcpServer(IntPtr box, IntPtr local_ip, ushort port, zu_box_accept_fn on_accept, IntPtr accept_arg);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_box_NewUdpServer(IntPtr box, IntPtr local_ip, ushort port, zu_box_datagram_fn on_datagram, IntPtr datagram_arg);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_box_AcceptTcpClient(IntPtr box, int socket, zu_box_read_fn on_read, IntPtr read_arg, zu_box_socket_fn on_close, IntPtr close_arg);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kiv_box_DeleteSock(IntPtr box, int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_box_GetNumSock(IntPtr box);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_box_GetThisSockId(IntPtr box);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_box_IsSockExist(IntPtr box, int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_box_NewOnceTimer(IntPtr box, uint interval_ms, zu_box_timer_fn callback, IntPtr argument);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_box_NewLoopTimer(IntPtr box, uint interval_ms, zu_box_timer_fn callback, IntPtr argument);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_box_NewLimitTimer(IntPtr box, int limit, uint interval_ms, zu_box_timer_fn callback, IntPtr argument);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_box_RefreshTimeout(IntPtr box, int timer, uint interval_ms);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_box_RefreshCallback(IntPtr box, int timer, zu_box_timer_fn callback, IntPtr argument);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_box_GetNumTimer(IntPtr box);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_box_GetThisTimerId(IntPtr box);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_box_IsTimerExist(IntPtr box, int timer);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kiv_box_DeleteTimer(IntPtr box, int timer);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_box_UdpWrite(IntPtr box, int socket, IntPtr data, int length, IntPtr ip, ushort port);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_box_TcpWrite(IntPtr box, int socket, IntPtr data, int length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_box_SetMaxReadLen(IntPtr box, int socket, int length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_box_ImportSockId_ForRead(IntPtr box, int socket, zu_event_fn callback, IntPtr argument);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_box_ImportSockId_ForWrite(IntPtr box, int socket, zu_event_fn callback, IntPtr argument);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_box_ImportSockId_ForExcept(IntPtr box, int socket, zu_event_fn callback, IntPtr argument);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_box_ExportSockId(IntPtr box, int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_box_ExportSockId_ForRead(IntPtr box, int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_box_ExportSockId_ForWrite(IntPtr box, int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_box_ExportSockId_ForExcept(IntPtr box, int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_box_GetThreadId(IntPtr box);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_box_IsValid(IntPtr box);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_box_TcpWrite(IntPtr box, int socket, IntPtr data, int length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_box_UdpWrite(IntPtr box, int socket, IntPtr data, int length, IntPtr ip, ushort port);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_box_TcpRead(IntPtr box, int socket, IntPtr buffer, int length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_box_UdpRead(IntPtr box, int socket, IntPtr buffer, int length, IntPtr from);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_box_SetFairRounds(IntPtr box, int on);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_box_SetCapacity(IntPtr box, int count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_box_SetBacklog(IntPtr box, int listener, int backlog);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_box_Post(IntPtr box, zu_box_post_fn post, IntPtr argument, zu_event_fn release);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_box_new();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kiv_box_loop(IntPtr box);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kiv_box_BreakLoop(IntPtr box);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kiv_box_free(IntPtr box);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kivx_ThreadBox_create();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kivx_ThreadBox_destroy(IntPtr box);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_bigbox_make(int slaves, int max_clients);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_bigbox_attach(IntPtr big, IntPtr local_ip, ushort port, zu_box_accept_fn on_accept, IntPtr accept_arg);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_bigbox_accept(IntPtr big, int socket, IntPtr peer_ip, ushort peer_port, zu_box_read_fn on_read, IntPtr read_arg, zu_box_socket_fn on_close, IntPtr close_arg);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_bigbox_write(IntPtr big, int socket, IntPtr data, int length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_bigbox_write(int socket, IntPtr data, int length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_bigbox_nnodes(IntPtr big);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_bigbox_GetSlaveBox(IntPtr big, int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_bigbox_GetMasterBox(IntPtr big);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_bigbox_GetSockIP(IntPtr big, int socket, IntPtr text, int size, IntPtr port);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_bigbox_InvokeClientID(IntPtr big);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_bigbox_InvokeSlaveBox(IntPtr big);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kiv_bigbox_DeleteSock(IntPtr big, int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kiv_bigbox_free(IntPtr big);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_bigbox_import_ForRead(IntPtr big, int socket, zu_box_read_fn on_read, IntPtr read_arg, zu_box_socket_fn on_close, IntPtr close_arg);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_bigbox_import_ForWrite(IntPtr big, int socket, zu_box_socket_fn on_write, IntPtr write_arg);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_bigbox_import_ForListen(IntPtr big, int socket, zu_box_accept_fn on_accept, IntPtr accept_arg);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_bigbox_export_ForRead(IntPtr big, int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_bigbox_export_ForWrite(IntPtr big, int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_bigbox_export_ForListen(IntPtr big, int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_bigbox_SetFairRounds(IntPtr big, int on);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_bigbox_SetBacklog(IntPtr big, int listener, int backlog);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_bigbox_Post(IntPtr big, int socket, zu_box_post_fn post, IntPtr argument, zu_event_fn release);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_proto_new();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kiv_proto_free(IntPtr packet);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_proto_ParsePacket(IntPtr packet, IntPtr bytes, int length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_proto_CheckPacket(IntPtr packet, IntPtr bytes, int length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_proto_PackCmd(IntPtr packet, IntPtr command);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_proto_PackPara(IntPtr packet, IntPtr name, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_proto_ModifyCmd(IntPtr packet, IntPtr command);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_proto_ModifyPara(IntPtr packet, IntPtr name, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_proto_DeletePara(IntPtr packet, IntPtr name);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_proto_GetPacket(IntPtr packet, IntPtr text, IntPtr length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kivx_proto_GetPacket(IntPtr packet, IntPtr text, IntPtr length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_proto_GetPacketLen(IntPtr packet);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_proto_GetCmd(IntPtr packet, IntPtr command, IntPtr length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_proto_GetCmd(IntPtr packet, IntPtr buffer, int size);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_proto_GetPara(IntPtr packet, IntPtr name, IntPtr value, IntPtr length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_proto_GetPara(IntPtr packet, IntPtr name, IntPtr buffer, int size);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_proto_NumPara(IntPtr packet);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_proto_rewind(IntPtr packet);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_proto_GetFirst(IntPtr packet, IntPtr name, IntPtr name_length, IntPtr value, IntPtr value_length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_proto_GetNext(IntPtr packet, IntPtr name, IntPtr name_length, IntPtr value, IntPtr value_length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_proto_GetFirst(IntPtr packet, IntPtr name, int name_size, IntPtr value, int value_size);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_proto_GetNext(IntPtr packet, IntPtr name, int name_size, IntPtr value, int value_size);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_proto_clone(IntPtr packet);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_proto_SetSpace(int mode);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_proto_PackCustomData(IntPtr packet, IntPtr bytes, int length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_proto_GetCustomData(IntPtr packet, IntPtr buffer, int capacity, IntPtr length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_proto_print(IntPtr packet);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_parse_pool_malloc();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kiv_parse_pool_free(IntPtr pool);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_parse_pool_input(IntPtr pool, IntPtr bytes, int count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_parse_pool_get(IntPtr pool, IntPtr buffer, int capacity, IntPtr length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_parse_pool_GetLen(IntPtr pool);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_parse_pool_GetAvailableLen(IntPtr pool);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_filter_malloc();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kiv_filter_free(IntPtr filter);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_filter_insert(IntPtr filter, IntPtr keyword, IntPtr text, int tag);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_filter_insert(IntPtr filter, IntPtr keyword, IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_filter_IsHit(IntPtr filter, IntPtr text, IntPtr keyword, IntPtr keyword_text, IntPtr tag);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_filter_IsHit(IntPtr filter, IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_cipher_malloc(int mode, IntPtr key, int key_length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kiv_cipher_free(IntPtr cipher);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_cipher_reset(IntPtr cipher, int mode, IntPtr key, int key_length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_encipher(IntPtr cipher, IntPtr buffer, int capacity, IntPtr written, IntPtr bytes, int length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_cipher_input(IntPtr cipher, IntPtr bytes, int length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_cipher_get(IntPtr cipher, IntPtr buffer, int capacity, IntPtr written);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_cipher_key(IntPtr buffer, int length, IntPtr first, IntPtr second);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_uvc_make();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_uvc_attach(IntPtr box, IntPtr client, int socket, IntPtr host, ushort port, kiv_uvc_fn on_connected, IntPtr connected_arg, kiv_uvc_fn on_failed, IntPtr failed_arg, kiv_uvc_data_fn on_data, IntPtr data_arg, kiv_uvc_fn on_lost, IntPtr lost_arg, kiv_uvc_foreign_fn on_foreign, IntPtr foreign_arg);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_uvc_attach(IntPtr box, IntPtr client, IntPtr host, ushort port, kiv_uvc_fn on_connected, IntPtr connected_arg, kiv_uvc_fn on_failed, IntPtr failed_arg, kiv_uvc_data_fn on_data, IntPtr data_arg, kiv_uvc_fn on_lost, IntPtr lost_arg);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_uvc_write(IntPtr client, IntPtr bytes, int length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_uvc_close(IntPtr client);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_uvc_free(IntPtr client);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_uvs_make();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_uvs_attach(IntPtr box, IntPtr server, int socket, kiv_uvs_connect_fn on_connect, IntPtr spare, kiv_uvs_foreign_fn on_foreign, IntPtr argument);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_uvs_attach(IntPtr box, IntPtr server, ushort port, kiv_uvs_connect_fn on_connect, IntPtr spare, kiv_uvs_foreign_fn on_foreign, IntPtr argument);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_uvs_AcceptClient(IntPtr server, int client, kiv_uvs_data_fn on_data, IntPtr data_arg, kiv_uvs_close_fn on_close, IntPtr close_arg);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_uvs_write(IntPtr server, int client, IntPtr bytes, int length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_uvs_DeleteClient(IntPtr server, int client);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_uvs_GetThisClientId(IntPtr server);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_uvs_free(IntPtr server);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_uri_malloc(IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_uri_mallocx(IntPtr text, int raw);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kiv_uri_free(IntPtr uri);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kiv_uri_cleanall(IntPtr uri);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_uri_clone(IntPtr uri);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kiv_uri_print(IntPtr uri);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_uri_GetURIString(IntPtr uri);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_uri_GetURIRequest(IntPtr uri);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_uri_GetScheme(IntPtr uri);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_uri_GetHost(IntPtr uri);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_uri_GetUser(IntPtr uri);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_uri_GetPath(IntPtr uri);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_uri_GetPathRaw(IntPtr uri);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_uri_GetQuery(IntPtr uri);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_uri_GetQueryRaw(IntPtr uri);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_uri_GetFragment(IntPtr uri);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern ushort kiv_uri_GetPort(IntPtr uri);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_uri_GetPortString(IntPtr uri);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_uri_BuildURI(IntPtr reference, IntPtr @base);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_uri_BuildRelativeURI(IntPtr text, IntPtr @base);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_uri_NormalizeURIPath(IntPtr path);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_uri_CanonicPath(IntPtr path);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_uri_PathToURI(IntPtr path);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_http_table_make();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kiv_http_table_free(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kiv_http_table_clean(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_http_table_clone(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_http_table_GetMethod(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_table_SetMethod(IntPtr table, IntPtr method);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_table_UnsetMethod(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_http_table_GetRequest(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_table_SetRequest(IntPtr table, IntPtr request);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_table_UnsetRequest(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_http_table_GetStatus(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_table_SetStatus(IntPtr table, IntPtr status_line);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_table_GetStatusValue(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_table_UnsetStatus(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_http_table_GetField(IntPtr table, IntPtr name);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_table_SetField(IntPtr table, IntPtr name, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_table_UnsetField(IntPtr table, IntPtr name);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_table_ZeroField(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_table_RewindField(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_table_GetNextField(IntPtr table, IntPtr name, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_http_table_GetForm(IntPtr table, IntPtr name);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_http_table_GetFormRaw(IntPtr table, IntPtr name);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_table_SetForm(IntPtr table, IntPtr name, IntPtr raw_value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_table_UnsetForm(IntPtr table, IntPtr name);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_table_ZeroForm(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_table_RewindForm(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_table_GetNextForm(IntPtr table, IntPtr name, IntPtr escaped_value, IntPtr raw_value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_http_table_GetHeaderStr(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_http_table_GetFormStr(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_table_GetFormStrLen(IntPtr table);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_http_table_ParseHeaderStr(IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_http_table_ParseFormStr(IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_http_filter_request_make();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_http_filter_response_make();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kiv_http_filter_request_free(IntPtr filter);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void kiv_http_filter_response_free(IntPtr filter);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_filter_request_input(IntPtr filter, IntPtr bytes, int n);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_filter_response_input(IntPtr filter, IntPtr bytes, int n);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_http_filter_request_get(IntPtr filter, IntPtr body, IntPtr status);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_http_filter_response_get(IntPtr filter, IntPtr body, IntPtr status);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_filter_request_peek(IntPtr filter, IntPtr table, IntPtr body, IntPtr status);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_http_request_make();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kivx_http_request_attach(IntPtr box, int reserved_number, IntPtr request, IntPtr url, IntPtr proxy_host, int proxy_port, kiv_http_request_socket_fn reserved, IntPtr reserved_user, kiv_http_request_socket_fn on_failure, IntPtr failure_user, kiv_http_request_response_fn on_response, IntPtr response_user, kiv_http_request_socket_fn on_close, IntPtr close_user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_request_attach(IntPtr box, int reserved_number, IntPtr request, IntPtr url, kiv_http_request_socket_fn reserved, IntPtr reserved_user, kiv_http_request_socket_fn on_failure, IntPtr failure_user, kiv_http_request_response_fn on_response, IntPtr response_user, kiv_http_request_socket_fn on_close, IntPtr close_user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_request_SetMethod(IntPtr request, IntPtr method);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_request_SetField(IntPtr request, IntPtr name, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_request_UnsetField(IntPtr request, IntPtr name);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_request_SetForm(IntPtr request, IntPtr name, IntPtr raw_value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_request_UnsetForm(IntPtr request, IntPtr name);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_http_request_GetUri(IntPtr request);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_http_request_GetUri_in(IntPtr request);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_http_request_GetUrl(IntPtr request);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_http_request_GetBox(IntPtr request);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_request_free(IntPtr request);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_http_server_make();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_server_attach(IntPtr box, IntPtr server, ushort port, kiv_http_server_accept_fn on_accept, IntPtr accept_user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_server_AcceptClient(IntPtr server, int socket, kiv_http_server_request_fn on_request, IntPtr request_user, kiv_http_server_close_fn on_close, IntPtr close_user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_server_DeleteClient(IntPtr server, int socket);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_server_NumClients(IntPtr server);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_http_server_free(IntPtr server);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr kiv_proxy_http_make();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_proxy_http_attach(IntPtr box, IntPtr tunnel, IntPtr proxy_host, ushort proxy_port, IntPtr user, IntPtr password, IntPtr target_host, ushort target_port, kiv_proxy_http_socket_fn on_ready, IntPtr ready_user, kiv_proxy_http_socket_fn on_failure, IntPtr failure_user, kiv_proxy_http_data_fn on_data, IntPtr data_user, kiv_proxy_http_socket_fn on_close, IntPtr close_user);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int kiv_proxy_http_free(IntPtr tunnel);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_url_escape_malloc(IntPtr text, int length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_url_escape_free(IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_url_unescape_free(IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_url_unescape_malloc(IntPtr text, int length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_base64_encode(IntPtr @out, IntPtr bytes, int length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_base64_encode00(IntPtr @out, IntPtr bytes, int length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_base64_decode(IntPtr @out, IntPtr text, int capacity);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_md5_encode(IntPtr out33, IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_cgi_malloc(IntPtr text, int length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_cgi_free(IntPtr cgi);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_cgi_FormString(IntPtr cgi, IntPtr name, IntPtr @out, int size);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_cgi_FormInteger(IntPtr cgi, IntPtr name, IntPtr @out, int default_value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_config_make(IntPtr file_name);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_config_make1(IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_config_free(IntPtr config);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_config_GetKey(IntPtr config, IntPtr group, IntPtr key);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_config_SetKey(IntPtr config, IntPtr group, IntPtr key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_config_UnsetKey(IntPtr config, IntPtr group, IntPtr key);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_config_IsKeyExist(IntPtr config, IntPtr group, IntPtr key);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_config_SetGroup(IntPtr config, IntPtr group);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_config_UnsetGroup(IntPtr config, IntPtr group);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_config_RenameGroup(IntPtr config, IntPtr group, IntPtr new_name);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_config_IsGroupExist(IntPtr config, IntPtr group);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_config_GroupRewind(IntPtr config);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_config_GroupGetFirst(IntPtr config, IntPtr group);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_config_GroupGetNext(IntPtr config, IntPtr group);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_config_KeyRewind(IntPtr config, IntPtr group);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_config_KeyGetFirst(IntPtr config, IntPtr group, IntPtr key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_config_KeyGetNext(IntPtr config, IntPtr key, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_config_ToString(IntPtr config);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_config_SaveToFile(IntPtr config, IntPtr file_name);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr __GetProfileString(IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_pattern_make(IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_pattern_free(IntPtr pattern);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_pattern_equal(IntPtr a, IntPtr b);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_pattern_match(IntPtr pattern, uint length, IntPtr text, IntPtr reversed, int match_case);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_pattern_match_string(IntPtr pattern, IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_pattern_match_istring(IntPtr pattern, IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_pattern_match_simple(IntPtr pattern, IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_pattern_match_isimple(IntPtr pattern, IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_DateParse(IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_GetGMTString(IntPtr time);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_GetLocalDate(IntPtr buffer);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_GetCurrentTimeHH();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_GetCurrentTimeMM();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_RandomValue();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_RandomStr(IntPtr buffer, int count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_GetPid();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_module_load(IntPtr path);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_module_GetSymbol(IntPtr module, IntPtr name);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_module_GetError();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_module_unload(IntPtr module);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_GetProcessId();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_GetExecutablePath();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_GetEnv(IntPtr name);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_SetEnv(IntPtr name, IntPtr value);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_UnsetEnv(IntPtr name);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_RandomBytes(IntPtr buffer, int count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_ClearMemory(IntPtr memory, int count);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_pidfile_make(IntPtr path);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_pidfile_free(IntPtr file);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_pidfile_read(IntPtr path);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_TTY_ReadName(IntPtr prompt, IntPtr buffer, int size);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_TTY_ReadPassword(IntPtr prompt, IntPtr buffer, int size);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_service_install(IntPtr name, IntPtr title, IntPtr command, int automatic);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_service_remove(IntPtr name);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_service_start(IntPtr name);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_service_stop(IntPtr name);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_service_pause(IntPtr name);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_service_continue(IntPtr name);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_service_query(IntPtr name);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_service_run(IntPtr name, IntPtr callbacks, IntPtr argument);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_service_log(IntPtr name, int kind, IntPtr text);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_file1_IsExist(IntPtr path);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern long zu_file1_GetSize(IntPtr path);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_file1_GetTimes(IntPtr path, IntPtr modified_us, IntPtr accessed_us);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_file1_SetTimes(IntPtr path, IntPtr modified_us, IntPtr accessed_us);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_file1_Copy(IntPtr from, IntPtr to);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_file1_Move(IntPtr from, IntPtr to);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_file1_Delete(IntPtr path);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_file1_Read(IntPtr path, IntPtr length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_file1_Write(IntPtr path, IntPtr bytes, long length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_file1_Append(IntPtr path, IntPtr bytes, long length);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_file2_open(IntPtr path, int mode);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_file2_close(IntPtr file);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern long zu_file2_read(IntPtr file, IntPtr buffer, long size);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_file2_write(IntPtr file, IntPtr bytes, long size);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern long zu_file2_seek(IntPtr file, long offset, int from);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern long zu_file2_tell(IntPtr file);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern long zu_file2_GetSize(IntPtr file);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_file2_truncate(IntPtr file, long size);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_file2_flush(IntPtr file);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_file2_lock(IntPtr file);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_file2_TryLock(IntPtr file);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_file2_unlock(IntPtr file);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_dir1_IsExist(IntPtr path);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_dir1_make(IntPtr path);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_dir1_remove(IntPtr path);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_dir1_RemoveAll(IntPtr path);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_dir1_walk(IntPtr path, int deep, zu_dir1_callback callback, IntPtr argument);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_dir1_GetCurrent();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_dir1_SetCurrent(IntPtr path);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_dir1_GetTemp();

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_dir1_MakeTemp(IntPtr prefix);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_file_mapped_open(IntPtr path, int writable);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_file_mapped_close(IntPtr file);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_file_mapped_GetAddress(IntPtr file);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern long zu_file_mapped_GetSize(IntPtr file);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_file_mapped_flush(IntPtr file);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_file_mapped_resize(IntPtr file, long size);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_shm_create(IntPtr name, long size);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_shm_open(IntPtr name);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern void zu_shm_close(IntPtr block);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_shm_remove(IntPtr name);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern IntPtr zu_shm_GetAddress(IntPtr block);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern long zu_shm_GetSize(IntPtr block);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_shm_lock(IntPtr block);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_shm_TryLock(IntPtr block);

        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int zu_shm_unlock(IntPtr block);
    }
}

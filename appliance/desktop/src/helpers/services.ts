// Services are stored under short keys; the list's action texts call them by these texts.
import type { Service } from '../api/types';
import type { Texts } from './texts';

const keys: Record<string, string> = {
  Samba: 'network:wnds_file_service',
  AFP: 'network:apple_subject',
  BonjourPrinter: 'network:bonjourPrinter_subject',
  NFS: 'nfs:nfs_title',
  AutoBlock: 'tree:leaf_autoblock',
  FTP: 'tree:leaf_ftp',
  FTPES: 'tree:leaf_ftpes',
  SFTP: 'tree:leaf_sftp',
  WebVane: 'tree:leaf_service',
  WebDAV: 'tree:leaf_webdav',
  SecureWebDAV: 'tree:leaf_webdav',
  NTP: 'time:ntp_service',
};

export function serviceName(service: Service, texts: Texts): string {
  const key = service.type === 'service' ? keys[service.id] : undefined;
  if (key === undefined) return service.name || service.id;
  return texts.t(key) + (service.id === 'SecureWebDAV' ? ' (HTTPS)' : '');
}
